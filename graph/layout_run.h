#pragma once

#include <QtCore/QProcess>
#include <QtCore/QTimer>

#include "graph/graph_picture.h"
#include "graph/layout_choice.h"

/// Has a picture laid out by the layout program, a process of its own that works
/// while this one goes on and that can be killed at any moment.
///
/// choose_layout says which layout a picture gets first. A layered one that takes
/// too long or fails is given up for a spring one; a spring one takes the time it
/// takes.
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

    /// What is being done, for people, while it runs.
    QString activity() const;

    /// Why the layout is not one in layers, for people; empty when it is.
    QString reason() const { return m_choice.reason; }

    static const int SECONDS_FOR_LAYERS = 10;

    /// Where the layout program is, in place of the program's folder, and how long
    /// a layered layout may take.
    static void set_program(const QString& path, int seconds_for_layers = SECONDS_FOR_LAYERS);

signals:
    /// Empty on success, else what went wrong, for people.
    void finished(const QString& error);

private slots:
    void process_ended(int exit_code, QProcess::ExitStatus status);
    void process_failed(QProcess::ProcessError error);
    void give_up_layers();

private:
    void begin();
    void go_on_with_springs(const QString& reason);
    QString fault();

    GRAPH_PICTURE m_picture;
    QProcess m_process;
    QTimer m_time_for_layers;
    LAYOUT_CHOICE m_choice;
    bool m_is_late = false; ///< layers have been given up
};
