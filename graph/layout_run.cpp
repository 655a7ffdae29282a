#include "graph/layout_run.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>

namespace {

// Up to here the layered layout answers within about three seconds, even where
// the graph is dense; twice the size takes four times as long.
const int MOST_NODES_FOR_LAYERS = 2000;
const int MOST_EDGES_FOR_LAYERS = 4000;
const int MILLISECONDS_FOR_LAYERS = 10000;

const int LONGEST_ERROR = 500;

QString s_program;

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
    m_time_for_layers.setSingleShot(true);
}

LAYOUT_RUN::~LAYOUT_RUN()
{
    m_process.disconnect(this);
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

void LAYOUT_RUN::set_program(const QString& path)
{
    s_program = path;
}

LAYOUT_ENGINE LAYOUT_RUN::engine_for(const GRAPH_PICTURE& picture)
{
    const bool is_small =
        picture.nodes.size() <= MOST_NODES_FOR_LAYERS && picture.edges.size() <= MOST_EDGES_FOR_LAYERS;
    return is_small ? LAYOUT_ENGINE::LAYERED : LAYOUT_ENGINE::SPRING;
}

void LAYOUT_RUN::start(const GRAPH_PICTURE& picture)
{
    m_picture = picture;
    begin(engine_for(picture));
}

void LAYOUT_RUN::begin(LAYOUT_ENGINE engine)
{
    m_engine = engine;
    m_process.start(program(), QStringList());
    if (m_process.state() == QProcess::NotRunning)
        return; // process_failed has heard of it
    m_process.write(layout_request(m_picture, engine));
    if (engine == LAYOUT_ENGINE::LAYERED)
        m_time_for_layers.start(MILLISECONDS_FOR_LAYERS);
}

void LAYOUT_RUN::give_up_layers()
{
    m_process.kill();
}

void LAYOUT_RUN::process_ended(int exit_code, QProcess::ExitStatus status)
{
    m_time_for_layers.stop();
    if (status == QProcess::NormalExit && exit_code == 0) {
        finish(read_layout(m_process.readAllStandardOutput(), m_picture));
        return;
    }
    if (m_engine == LAYOUT_ENGINE::LAYERED) {
        begin(LAYOUT_ENGINE::SPRING);
        return;
    }
    const QString said =
        QString::fromLocal8Bit(m_process.readAllStandardError()).trimmed().left(LONGEST_ERROR);
    finish(said.isEmpty() ? tr("the layout program ended unexpectedly") : said);
}

// Every other error is followed by the end of the process.
void LAYOUT_RUN::process_failed(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart)
        return;
    m_time_for_layers.stop();
    finish(
        tr("%1 could not be started: %2").arg(QDir::toNativeSeparators(program()), m_process.errorString()));
}

void LAYOUT_RUN::finish(const QString& error)
{
    if (m_is_finished)
        return;
    m_is_finished = true;
    emit finished(error);
}
