#pragma once

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QTreeView>

#include <deque>
#include <map>

#include "session/file_entry.h"
#include "settings/preferences_editor_dialog.h"
#include "tests/session/step_scene.h"
#include "tests/support/window_text.h"

/// A file map from a text, a line each:
///
///     <raw>/Maps/Moor.txt a >b !target p4=3   read by a, written by b, flags and states
///     <raw>/maps/moor=<raw>/Maps/Moor         with a key of its own; "null" is no entry
///     pull a b                                choosing a pulls b along
///
/// Flags say what is out of date: target, source, target_latest, source_latest.
struct FILE_SCENE
{
    /// `top` is where the data roots lie, with its slash.
    explicit FILE_SCENE(const QString& text, bool locked = true, const QString& top = "/tree/") : top(top)
    {
        for (const QString& line : text.split('\n', Qt::SkipEmptyParts))
            add(line.split(' '));
        if (locked)
            map.lock(true);
    }

    void add(QStringList words)
    {
        const QString first = words.takeFirst();
        if (first == "pull") {
            action(words[0])->add_dependency(*action(words[1]), true);
            return;
        }
        const QString path = first.section('=', -1);
        FILE_ENTRY& entry = files.emplace_back();
        const QString root = path.section('>', 0, 0).mid(1);
        const QString folder = root + (root == "retail" ? "_build" : "_data");
        entry.physical = PHYSICAL_PATH(top + folder + path.section('>', 1));
        for (const QString& word : qAsConst(words))
            add(word, entry);
        const LOGICAL_PATH key(first.contains('=') ? first.section('=', 0, 0) : path.toLower());
        map.insert(key, path == "null" ? nullptr : &entry);
    }

    void add(const QString& word, FILE_ENTRY& entry)
    {
        static const QMap<QString, bool FILE_ENTRY::*> flags{
            {"!target", &FILE_ENTRY::out_of_date_target},
            {"!source", &FILE_ENTRY::out_of_date_source},
            {"!target_latest", &FILE_ENTRY::out_of_date_target_latest},
            {"!source_latest", &FILE_ENTRY::out_of_date_source_latest}};
        if (flags.contains(word)) {
            entry.*flags[word] = true;
        } else if (word.contains('=')) {
            (word.startsWith("p4") ? entry.p4_state : entry.local_state) = word.right(1).toInt();
        } else if (word.startsWith('>')) {
            entry.providers.append(action(word.mid(1)));
            action(word.mid(1))->target_files.insert(&entry, entry.physical);
        } else {
            entry.consumers.append(action(word));
            action(word)->input_files.append(&entry);
        }
    }

    STEP_ACTION* action(const QString& name)
    {
        STEP_ACTION& known = actions[name];
        known.name = name.left(1); // its short text
        known.more_of_name = name.mid(1);
        known.processor = &processor;
        return &known;
    }

    /// The names of those that are selected, each behind a blank.
    QString selected() const
    {
        QString names;
        for (const auto& [name, action] : actions)
            names += action.selection_count >= 1 ? ' ' + name : QString();
        return names;
    }

    QString top;
    STEP_PROCESSOR processor{QStringLiteral("P")};
    LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*> map;
    std::deque<FILE_ENTRY> files;
    std::map<QString, STEP_ACTION> actions;
};

/// A session over such files, in the circumstances that `with` names: popup (the
/// preference), offline, no_retail, get_latest.
class SELECTION_SCENE : public STEP_SCENE
{
public:
    explicit SELECTION_SCENE(const QString& text, const QString& with = QString())
        : files(text, true, tree.path() + '/')
    {
        session->file_map = files.map;
        for (auto& action : files.actions)
            session->actions.append(&action.second);
        session->processors.append(&files.processor);
        show_popups(with.contains("popup"));
        configuration.retail = !with.contains("no_retail");
        configuration.get_latest = with.contains("get_latest");
        if (with.contains("offline"))
            give_option("--offline");
    }

    void show_popups(bool on)
    {
        session->preferences->findChild<QCheckBox*>("setting_actionselection")->setChecked(on);
    }

    FILE_SCENE files;
};

/// All rows of a model, as WINDOW_TEXT has them.
inline QString rows_of(QAbstractItemModel& model)
{
    QTreeView view;
    view.setModel(&model);
    view.expandAll();
    return WINDOW_TEXT::rows(view);
}

inline QModelIndex row_named(const QAbstractItemModel& model, const QString& name)
{
    const auto how = Qt::MatchExactly | Qt::MatchRecursive;
    return model.match(model.index(0, 0), Qt::DisplayRole, name, 1, how).value(0);
}
