#pragma once

#include <QtCore/QRegularExpression>
#include <QtCore/QString>

#include <algorithm>
#include <new>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_answer.h"
#include "contracts/rules/rule_key.h"
#include "contracts/services/p4_connection.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/support/full_disk.h"
#include "tests/support/noted.h"
#include "tests/support/p4_scene.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/transcript.h"

/// Carries out commands on the rule cache of a temporary tree. What they are is
/// told in rule_cache.cases.
class RULE_SCRIPT : public virtual TRANSCRIPT
{
public:
    /// `text` is what the command "text" writes.
    explicit RULE_SCRIPT(const QByteArray& text = QByteArray()) : m_text(text)
    {
        PATHS::initialise(m_tree.path("tool"));
        add_commands_of_files();
        add_commands_of_rules();
    }

    /// A rule in short, such as "Texture+ a=1 b=2 | *.png", whose "+" is that it inherits.
    static QString shorthand(const CACHED_RULE& rule)
    {
        QString text = rule.name + (rule.inherit_properties ? "+" : "");
        for (auto value = rule.properties.cbegin(); value != rule.properties.cend(); ++value)
            text += ' ' + value.key() + '=' + value->toString();
        return text + (rule.get_file_filters().isEmpty() ? "" : " | " + rule.get_file_filters());
    }

    static QByteArray xml_of(const QString& shorthand)
    {
        QStringList words = shorthand.section(" | ", 0, 0).split(' ', Qt::SkipEmptyParts);
        const QString name = words.takeFirst(), filters = shorthand.section(" | ", 1).toHtmlEscaped();
        QString xml =
            "<rule name='" + QString(name).remove('+') + (name.endsWith('+') ? "' inherit='true'>" : "'>");
        if (!filters.isEmpty())
            xml += "<files>" + filters + "</files>";
        for (const QString& word : qAsConst(words))
            xml += "<property name='" + word.section('=', 0, 0) + "'>" + word.section('=', 1) + "</property>";
        return (xml + "</rule>").toUtf8();
    }

    /// The file's text: rules in short with "; " between them, or XML.
    static QByteArray rule_file(const QString& rules)
    {
        QByteArray xml = rules.toUtf8().replace("\\n", "\n");
        if (!rules.startsWith('<')) {
            xml = "<rules>";
            for (const QString& rule : rules.split("; ", Qt::SkipEmptyParts))
                xml += xml_of(rule);
            xml += "</rules>";
        }
        return xml.replace("<many/>", QByteArray("<rule name='a'/>").repeated(100001));
    }

    /// A line a folder and kind, with the oldest rule first.
    static QString listing(const RULE_CACHE& cache)
    {
        QStringList lines;
        for (const QString& key : cache.rules.uniqueKeys()) {
            QStringList rules;
            for (const CACHED_RULE* const rule : cache.rules.values(key))
                rules.prepend(shorthand(*rule));
            lines += key.section('*', 0, -2) + ": " + rules.join("; ");
        }
        return lines.join('\n');
    }

protected:
    /// Paths are relative to the tree.
    QString told(QString said) override { return said.remove(m_tree.path() + '/').replace(QChar(1), "\\1"); }

    const TEMPORARY_TREE m_tree;
    RULE_CACHE_HOLDER m_holder;
    RULE_CACHE& m_cache = m_holder.cache;

private:
    // The textures of a folder, the oldest first, and a place among them.
    struct PLACE
    {
        LOGICAL_PATH folder;
        QList<CACHED_RULE*> rules;
        int index;
    };

    static QString first(const QString& words) { return words.section(' ', 0, 0); }
    static QString others(const QString& words) { return words.section(' ', 1); }

    void add_commands_of_files()
    {
        add("file", [&](const QString& s) { return take_file(first(s), rule_file(others(s))); });
        add("text", [&](const QString& file) { return take_file(file, m_text); });
        add("read", [&](const QString& file) { return read(m_cache, file_of(file)); });
        add("write", [&](const QString& s) { m_tree.write(first(s), others(s).toUtf8()); });
        add("folder", [&](const QString& folder) { m_tree.make_folder(folder); });
        add("remove", [&](const QString& path) { m_tree.remove(path); });
        add("mode", [&](const QString& s) {
            m_tree.set_permissions(file_of(first(s)), others(s).toUInt(nullptr, 8));
        });
        add("roots", [&](const QString&) { PATHS::initialise(m_tree.path("tool")); });
        add("p4", [&](const QString& s) {
            m_has_p4 = true;
            m_p4.answers(first(s), others(s).replace(" / ", "\n").toUtf8());
        });
        add("calls", [&](const QString&) {
            return QDir::fromNativeSeparators(QString::fromUtf8(m_p4.calls()).trimmed());
        });
        add("diff", [&](const QString& file) { return difference(file_of(file)); });
        add("save", [&](const QString& disk) { return save(disk == "full"); });
    }

    void add_commands_of_rules()
    {
        add("ask", [&](const QString& s) { return ask(first(s), others(s)); });
        add("noted", [&](const QString& command) { return noted([&] { carry_out(command); }); });
        add("from", [&](const QString& path) {
            QStringList parts;
            for (const RULE_VALUE& value : m_cache.answer(LOGICAL_PATH(path), "Texture").values)
                parts += m_cache.file_of(*value.origin);
            return parts.join(' ');
        });
        add("digest", [&](const QString&) { return m_digests.of(m_cache.digest()); });
        add("validate", [&](const QString&) {
            m_cache.validate_cache(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>());
            m_cache.add_new_file_to_cache(LOGICAL_PATH("<raw>/new"));
        });
        add("set", [&](const QString& s) {
            const PLACE place = find(first(s));
            set(*place.rules[place.index], others(s));
        });
        add("add", [&](const QString& s) {
            CACHED_RULE* const rule = new CACHED_RULE;
            rule->name = "Texture";
            set(*rule, others(s));
            put(rule, find(first(s)));
        });
        add("drop", [&](const QString& rule) { delete take(rule); });
        add("carry", [&](const QString& s) {
            CACHED_RULE* const rule = take(first(s));
            put(rule, find(others(s)));
        });
        add("paste", [&](const QString& s) {
            const QScopedPointer<CACHED_RULE> cut(take(first(s)));
            put(new CACHED_RULE(*cut), find(others(s)));
        });
        add("replace", [&](const QString& s) {
            CACHED_RULE* const old = take(first(s));
            const CACHED_RULE copy = *old;
            old->~CACHED_RULE();
            put(new (old) CACHED_RULE(copy), find(first(s)));
            set(*old, others(s));
        });
    }

    static QString file_of(const QString& word)
    {
        return word.endsWith(".gox", Qt::CaseInsensitive) ? word : word + "/rules.gox";
    }

    QString read(RULE_CACHE& cache, const QString& file) const
    {
        const PHYSICAL_PATH path(m_tree.path(file));
        return file.startsWith("tool/GOX/") ? cache.add_global_rules(path) : cache.add_rules(path);
    }

    QString take_file(const QString& word, const QByteArray& xml)
    {
        m_seen[file_of(word)] = xml;
        m_tree.write(file_of(word), xml, FILES::hour(++m_hour));
        return read(m_cache, file_of(word));
    }

    // "unit#2" is the second oldest texture of <raw>/unit, "#1" the oldest of <raw>.
    PLACE find(const QString& address) const
    {
        const QString folder = address.section('#', 0, 0);
        PLACE place{LOGICAL_PATH(folder.startsWith('<') ? folder
                                 : folder.isEmpty()     ? "<raw>"
                                                        : "<raw>/" + folder),
                    {},
                    address.section('#', 1).toInt() - 1};
        place.rules = m_cache.rules.values(rule_key(place.folder, "Texture"));
        std::reverse(place.rules.begin(), place.rules.end());
        return place;
    }

    // As the rule editor puts a rule somewhere.
    void put(CACHED_RULE* rule, PLACE place)
    {
        rule->path = place.folder;
        rule->physical_path = PATHS::physical_path(place.folder);
        place.rules.insert(place.index, rule);
        fill(place);
    }

    CACHED_RULE* take(const QString& address)
    {
        PLACE place = find(address);
        CACHED_RULE* const rule = place.rules.takeAt(place.index);
        fill(place);
        return rule;
    }

    void fill(const PLACE& place)
    {
        const QString key = rule_key(place.folder, "Texture");
        m_cache.rules.remove(key);
        for (CACHED_RULE* const rule : place.rules)
            m_cache.rules.insert(key, rule);
    }

    static void set(CACHED_RULE& rule, QString assignment)
    {
        assignment.replace("\\1", QChar(1)).replace("\\half", QChar(0xd83c));
        const QString name = assignment.section('=', 0, 0), value = assignment.section('=', 1);
        if (name == "files")
            rule.set_file_filters(value);
        else if (name == "inherit")
            rule.inherit_properties = value == "yes";
        else if (value.isEmpty())
            rule.properties.remove(name);
        else
            rule.properties[name] = value == "wide" ? QString(100000, 'x') : value;
    }

    // The properties that hold, with the folder that each comes from, and the number
    // of the newest file that was gone through.
    QString ask(const QString& path, const QString& other_kind) const
    {
        const QString kind = other_kind.isEmpty() ? "tEXTURE" : other_kind;
        const RULE rule = m_cache.get(LOGICAL_PATH(path), kind);
        const auto silent = texts_of_answer(m_cache.answer(LOGICAL_PATH(path), kind));
        if (silent != texts_of_answer(rule))
            return "two answers";
        QStringList parts;
        for (auto value = rule.values.cbegin(); value != rule.values.cend(); ++value)
            parts += value.key() + '=' + rule.value(value.key().toUpper()) + '@' + value->origin->path;
        const QDateTime change = m_cache.last_change(LOGICAL_PATH(path), kind);
        return (rule.found ? parts.join(' ') : "no rule") +
               (change.isNull() ? "; never" : QString("; %1").arg(FILES::hour(0).secsTo(change) / 3600));
    }

    // Once all is saved, the files say what the cache says.
    QString save(bool is_full)
    {
        P4_CONNECTION p4(true, true, m_has_p4);
        QString error;
        {
            const FULL_DISK disk(is_full);
            error = m_cache.save(p4);
        }
        if (!error.isEmpty())
            return error;
        RULE_CACHE_HOLDER again;
        for (const QString& file : FILES::below(m_tree.path()).filter(".gox"))
            if (!file.startsWith("old_") || !m_tree.exists(QString(file).remove("old_")))
                read(again.cache, file);
        const bool is_same =
            listing(again.cache) == listing(m_cache) && again.cache.digest() == m_cache.digest();
        return is_same ? "done" : "done, but\n" + listing(again.cache);
    }

    // The lines that have gone since the file was looked at last, and those that have
    // come; line ends count.
    QString difference(const QString& file)
    {
        const auto lines_of = [](const QByteArray& text) {
            return QString::fromUtf8(text).replace("\r\n", "~\n").split('\n');
        };
        QStringList before = lines_of(m_seen.value(file)), after = lines_of(m_tree.read(file));
        m_seen[file] = m_tree.read(file);
        const auto drop_common = [&] {
            while (!before.isEmpty() && !after.isEmpty() && before.first() == after.first()) {
                before.removeFirst();
                after.removeFirst();
            }
            std::reverse(before.begin(), before.end());
            std::reverse(after.begin(), after.end());
        };
        drop_common();
        drop_common();
        return (before.replaceInStrings(QRegularExpression("^"), "-") +
                after.replaceInStrings(QRegularExpression("^"), "+"))
            .join('\n');
    }

    const QByteArray m_text;
    const P4_SCENE m_p4;
    QMap<QString, QByteArray> m_seen; // by file
    bool m_has_p4 = false;
    LETTERS m_digests;
    int m_hour = 0; // of the file that was written last
};
