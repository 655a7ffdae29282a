#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringView>
#include <QtCore/QVector>

#include "contracts/services/digest.h"
#include "contracts/services/fw_memory.h"
#include "record/build_entry.h"

class ACTION_INTERFACE;
class PHYSICAL_PATH;
struct FILE_ENTRY;

/// Where files lie as the build record says it: relative to the folder that holds
/// the data roots and the tool folder, so that a tree may be moved or mounted
/// elsewhere; what lies outside of it with its whole path. PATHS has to be there.
/// Any thread.
class TREE_PLACES
{
public:
    TREE_PLACES();

    QStringView place(const QString& path) const; ///< a view into `path`
    QString path(const QString& place) const;     ///< the whole path again

private:
    QString m_tree; // with a slash
};

/// What the record knows an action's inputs and targets by: equal digests mean that
/// all of them are as they were, the lists included, in whichever order they come.
class STATE_DIGEST
{
public:
    void start(qint64 stamp);
    void add_input(QStringView place, const FILE_STAMP& file) { m_inputs.push_back(hash(place, file)); }
    void add_target(QStringView place, const FILE_STAMP& file) { m_targets.push_back(hash(place, file)); }
    DIGEST result(); ///< ends what `start` began

private:
    static quint64 hash(QStringView place, const FILE_STAMP& file);

    qint64 m_stamp = 0;
    FW::VECTOR<quint64> m_inputs; // kept from one to the next for their memory
    FW::VECTOR<quint64> m_targets;
};

/// Files that several actions of a plan write, one after another: what such an
/// action left behind is gone once the next one had its turn. Keeps a reference to
/// the plan. One thread at a time.
class SHARED_TARGETS
{
public:
    explicit SHARED_TARGETS(const QVector<ACTION_INTERFACE*>& plan) : m_plan(plan) {}

    /// Whether an action that comes later in the plan writes the file too.
    bool is_written_later(const FILE_ENTRY& file, const ACTION_INTERFACE& action);

private:
    const QVector<ACTION_INTERFACE*>& m_plan;
    QHash<const ACTION_INTERFACE*, int> m_places; // made when the first such file is met
};

/// Times and sizes of an action's files, to be compared with what the record has.
/// One thread at a time.
class ACTION_FILES
{
public:
    enum SOURCE
    {
        SCANNED, ///< as the scan found them; what it did not find is asked of the disk
        ON_DISK, ///< as they are now
    };

    ACTION_FILES(const QVector<ACTION_INTERFACE*>& plan, SOURCE source) : shared(plan), m_source(source) {}

    FILE_STAMP input(const FILE_ENTRY& file) const;

    /// `path` is what the action gave for the target.
    FILE_STAMP target(const ACTION_INTERFACE& action, const FILE_ENTRY& file, const PHYSICAL_PATH& path);

    const TREE_PLACES places;
    SHARED_TARGETS shared;

    static bool is_known(const FILE_ENTRY& file);    ///< the scan found it, or a processor announced it
    static FILE_STAMP known(const FILE_ENTRY& file); ///< of one that is

private:
    static FILE_STAMP scanned(const FILE_ENTRY& file);

    const SOURCE m_source;
};

/// Stands for time and size of a target that a later action writes too.
FILE_STAMP stamp_of_overwritten();

/// Stands for those of a file that may have changed under the same time and size: equal
/// to none that a file has.
FILE_STAMP stamp_of_uncertain();

/// Whether the action adds to the file, one of its inputs, what others begin anew: what
/// counts is then how it left the file, not how it found it.
bool is_added_to(const FILE_ENTRY& input, const ACTION_INTERFACE& action);

/// Another action of the same processor has the same targets, so that the record
/// can't tell the two apart.
bool has_double(ACTION_INTERFACE& action);
