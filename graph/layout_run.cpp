#include "graph/layout_run.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>

namespace {

const int LONGEST_ERROR = 500;

QString s_program;
int s_seconds_for_layers = LAYOUT_RUN::SECONDS_FOR_LAYERS;

QString program()
{
    if (!s_program.isEmpty())
        return s_program;
    return QCoreApplication::applicationDirPath() + QStringLiteral("/" GOX_LAYOUT_PROGRAM);
}

} // namespace

LAYOUT_RUN::LAYOUT_RUN(QObject* parent) : QObject(parent)
{
    connect(&m_process, SIGNAL(finished(int, QProcess::ExitStatus)), this,
            SLOT(process_ended(int, QProcess::ExitStatus)));
    connect(&m_process, SIGNAL(errorOccurred(QProcess::ProcessError)), this,
            SLOT(process_failed(QProcess::ProcessError)));
    connect(&m_time_for_layers, SIGNAL(timeout()), this, SLOT(give_up_layers()));
}

LAYOUT_RUN::~LAYOUT_RUN()
{
    m_process.disconnect(this);
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

void LAYOUT_RUN::set_program(const QString& path, int seconds_for_layers)
{
    s_program = path;
    s_seconds_for_layers = seconds_for_layers;
}

void LAYOUT_RUN::start(const GRAPH_PICTURE& picture)
{
    m_picture = picture;
    m_choice = choose_layout(picture);
    begin();
}

void LAYOUT_RUN::begin()
{
    m_process.start(program(), QStringList());
    if (m_process.state() == QProcess::NotRunning)
        return; // process_failed has heard of it
    m_process.write(layout_request(m_picture, m_choice.engine));
    if (m_choice.engine == LAYOUT_ENGINE::LAYERED)
        m_time_for_layers.start(s_seconds_for_layers * 1000);
}

QString LAYOUT_RUN::activity() const
{
    if (m_choice.engine == LAYOUT_ENGINE::LAYERED)
        return tr("Laying out the graph in layers.\nIf that takes longer than %1 s, springs take over.")
            .arg(s_seconds_for_layers);
    return tr("Laying out the graph by springs, since %1.\n"
              "A large graph can take minutes; closing the window ends it.")
        .arg(m_choice.reason);
}

void LAYOUT_RUN::give_up_layers()
{
    m_is_late = true;
    m_process.kill();
}

void LAYOUT_RUN::go_on_with_springs(const QString& reason)
{
    m_choice = {LAYOUT_ENGINE::SPRING, reason};
    begin();
}

void LAYOUT_RUN::process_ended(int exit_code, QProcess::ExitStatus status)
{
    m_time_for_layers.stop();
    if (status == QProcess::NormalExit && exit_code == 0)
        emit finished(read_layout(m_process.readAllStandardOutput(), m_picture));
    else if (m_choice.engine == LAYOUT_ENGINE::SPRING)
        emit finished(fault());
    else if (m_is_late)
        go_on_with_springs(tr("layers took longer than %1 s").arg(s_seconds_for_layers));
    else
        go_on_with_springs(tr("layers failed: %1").arg(fault()));
}

// The program's own words come last, behind those of the library.
QString LAYOUT_RUN::fault()
{
    QStringList lines =
        QString::fromLocal8Bit(m_process.readAllStandardError()).remove('\r').split('\n', Qt::SkipEmptyParts);
    if (lines.isEmpty())
        return tr("the layout program ended unexpectedly");
    lines.prepend(lines.takeLast());
    return lines.join('\n').left(LONGEST_ERROR);
}

// Every other error is followed by the end of the process.
void LAYOUT_RUN::process_failed(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart)
        return;
    m_time_for_layers.stop();
    emit finished(tr("%1 could not be started: %2\nIt belongs beside the program; install GOX again.")
                      .arg(QDir::toNativeSeparators(program()), m_process.errorString()));
}
