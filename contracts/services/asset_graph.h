#pragma once

#include <QtCore/QScopedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

#include "contracts/export.h"

struct DIGEST;

namespace QTSHARED {

/// Sets what turns the path of an `.agf` file, as given to ASSET_GRAPH::add,
/// into the name under which its fragments are kept. Without one, or with an
/// empty one, the path itself is the name. Holds for all graphs, from the next
/// `add` on; set it before the first.
GOX_CONTRACTS_EXPORT void
set_absolute_to_relative_path_callback_for_asset_graph(std::function<QString(QString)> callback);

/// Which assets use which, put together from fragments: what each `.agf` file
/// says about its assets. Asset names are compared letter for letter.
///
/// Whatever fails leaves the graph as it was. GUI thread during start-up, build
/// thread during a build: one thread at a time, for reading too, because the
/// first question after a change sets up an index (its cost grows with the
/// whole graph; all further questions are cheap). What the graph tells is noted for
/// the action at hand.
class GOX_CONTRACTS_EXPORT ASSET_GRAPH
{
public:
    ASSET_GRAPH();
    ~ASSET_GRAPH();

    /// Reads a cache that save_binary wrote. It replaces the graph, or, with
    /// `keep_known`, adds the files that the graph does not know yet. A cache
    /// that is missing is no problem and adds no line; one that is damaged or of
    /// another version is ignored with a line that says why. True when it was
    /// read.
    bool load_binary(const QString& path, QStringList& errors, bool keep_known);

    /// Writes the whole graph as a cache, completely or not at all. The program
    /// only reads caches; tools that prepare a data tree write them. False with
    /// a text in `error`, which is empty otherwise.
    bool save_binary(const QString& path, QString& error) const;

    /// Reads an `.agf` file; its fragments take the place of those known under
    /// the same name. A file with the times and size that it was last read with
    /// is not read again. False with a text in `error`, which is empty
    /// otherwise.
    bool add(const QString& agf_path, QString& error);

    /// Appends a line for each asset that is defined more than once, each use of
    /// an asset that nobody defines, and each cycle of uses that is found. Of
    /// several cycles through the same assets not all may be found at once, but
    /// a graph with cycles never gives none.
    void check_dependencies(QStringList& errors) const;

    /// The names of all files that fragments came from, sorted.
    QStringList get_all_agf_filenames() const;

    /// Forgets what the file said; nothing when the name is unknown.
    void remove_fragments_by_agf_filename(const QString& name);

    /// All assets that are defined, sorted.
    QStringList assets() const;

    /// What the asset uses itself, in the order of its fragments; empty for an
    /// asset that is not defined.
    QStringList dependencies_of(const QString& asset) const;

    /// Stands for all that the graph can tell, and has told since it was loaded where
    /// files have been forgotten in between. Worked out anew after a change, at a
    /// cost that grows with the whole graph. Noted nowhere.
    DIGEST digest() const;

private:
    Q_DISABLE_COPY(ASSET_GRAPH)
    struct STATE;

    QScopedPointer<STATE> m_state;
};

} // namespace QTSHARED
