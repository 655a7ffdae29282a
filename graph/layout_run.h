#pragma once

#include <QtCore/QProcess>
#include <QtCore/QTimer>

#include "graph/graph_picture.h"
#include "graph/layout_protocol.h"

/// Has a picture laid out by the layout program, a process of its own that works
/// while this one goes on and that can be killed at any moment.
///
/// Pictures up to a certain size get the layered layout, larger ones the spring
/// layout, which answers for many more. A layered one that takes too long or
/// fails is given up for a spring one; a spring one takes the time it takes.
///
/// From `start` on it runs until `finished` comes, once, or until this object is
/// deleted, which kills the process and waits only until it is gone. Nothing of
/// the process outlives this program either: it ends when its input closes. GUI
/// thread.
class LAYOUT_RUN : public QObject
{
    Q_OBJECT

public:
    explicit LAYOUT_RUN(QObject* parent);
    ~LAYOUT_RUN() override;

    /// Once for each object.
    void start(const GRAPH_PICTURE& picture);

    /// Once `finished` has come without an error: the picture with all places.
    const GRAPH_PICTURE& picture() const { return m_picture; }

    static LAYOUT_ENGINE engine_for(const GRAPH_PICTURE& picture);

    /// Where the layout program is, in place of the program's folder.
    static void set_program(const QString& path);

signals:
    /// Empty on success, else what went wrong, for people.
    void finished(const QString& error);

private slots:
    void process_ended(int exit_code, QProcess::ExitStatus status);
    void process_failed(QProcess::ProcessError error);
    void give_up_layers();

private:
    void begin(LAYOUT_ENGINE engine);
    void finish(const QString& error);

    GRAPH_PICTURE m_picture;
    QProcess m_process;
    QTimer m_time_for_layers;
    LAYOUT_ENGINE m_engine = LAYOUT_ENGINE::LAYERED;
    bool m_is_finished = false;
};
