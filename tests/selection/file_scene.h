#pragma once

#include <QtCore/QAbstractItemModel>

#include <map>
#include <memory>
#include <vector>

#include "contracts/actions/action_interface.h"
#include "session/file_entry.h"

class IDLE_ACTION : public ACTION_INTERFACE
{
public:
    QString display_text(bool) override { return QString(); }
    void collect_files(QVector<LOGICAL_PATH>&, QVector<ACTION_TARGET>&, QDateTime&,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
    }
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override { return ACTION_SUCCEEDED; }
};

/// A file map from a text, files between commas: the path as on disk, then the
/// actions that read the file and, with a ">" in front, those that write it. The
/// key is the path in lower case unless a "key=" stands in front; "key=null" has
/// no entry.
struct FILE_SCENE
{
    explicit FILE_SCENE(const QString& text, bool locked = true)
    {
        for (const QString& file : text.split(", ", Qt::SkipEmptyParts))
            add(file.split(' '));
        if (locked)
            map.lock(true);
    }

    void add(QStringList parts)
    {
        const QString first = parts.takeFirst();
        const QString path = first.section('=', -1);
        files.push_back(std::make_unique<FILE_ENTRY>());
        FILE_ENTRY* const entry = files.back().get();
        entry->physical = PHYSICAL_PATH("/tree/" + path.mid(1).replace(">/", "_data/"));
        for (const QString& name : qAsConst(parts))
            (name[0] == '>' ? entry->providers : entry->consumers).append(action(name.right(1)));
        const LOGICAL_PATH key(first.contains('=') ? first.section('=', 0, 0) : path.toLower());
        map.insert(key, path == "null" ? nullptr : entry);
    }

    ACTION_INTERFACE* action(const QString& name)
    {
        std::unique_ptr<IDLE_ACTION>& known = actions[name];
        if (!known)
            known = std::make_unique<IDLE_ACTION>();
        return known.get();
    }

    FILE_ENTRY& file(const QString& name) { return *map.value(LOGICAL_PATH("<raw>/f/" + name)); }

    LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*> map;
    std::vector<std::unique_ptr<FILE_ENTRY>> files;
    std::map<QString, std::unique_ptr<IDLE_ACTION>> actions;
};

/// The rows between bars: a dot a level, the check box as "[ ]", "[-]" or "[x]"
/// where there is one, the name.
inline QString tree_text(const QAbstractItemModel& model, const QModelIndex& parent = QModelIndex(),
                         const QString& indent = QString())
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        const QVariant state = index.data(Qt::CheckStateRole);
        const QString box = state.isValid() ? "[" + QString(" -x").mid(state.toInt(), 1) + "]" : QString();
        rows.append(indent + box + index.data().toString());
        rows.append(tree_text(model, index, indent + "."));
        rows.removeAll(QString());
    }
    return rows.join('|');
}

inline QModelIndex row_named(const QAbstractItemModel& model, const QString& name)
{
    const auto how = Qt::MatchExactly | Qt::MatchRecursive;
    return model.match(model.index(0, 0), Qt::DisplayRole, name, 1, how).value(0);
}
