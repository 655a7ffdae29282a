#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include "contracts/export.h"
#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "contracts/rules/file_filter_list.h"

/// Tells one rule from every other that there has been in the process, which its
/// address does not: a new rule may lie where one lay that is gone.
///
/// A copy gets a number of its own and stays in the line of what it was copied
/// from, as a rule does that was cut here and pasted there. Numbers begin with 1
/// and are never given again. Any thread.
class GOX_CONTRACTS_EXPORT RULE_IDENTITY
{
public:
    RULE_IDENTITY();
    RULE_IDENTITY(const RULE_IDENTITY& other);
    RULE_IDENTITY& operator=(const RULE_IDENTITY& other); ///< takes over the line only

    quint64 number() const { return m_number; }
    quint64 line() const { return m_line; } ///< the number of the first in it

private:
    quint64 m_number;
    quint64 m_line;
};

/// One rule as it stands in a rule file: settings of one kind for the files of
/// a folder and below.
///
/// A value class; a copy says the same and is a rule of its own. RULE_CACHE owns the rules that it holds;
/// whoever takes one out of the cache owns it from then on. Read by any thread once start-up is over, written
/// by the rule editor on the GUI thread while no build runs.
class GOX_CONTRACTS_EXPORT CACHED_RULE
{
public:
    LOGICAL_PATH path;               ///< the rule's folder; "<>" for a rule of a global file
    PHYSICAL_PATH physical_path;     ///< the same folder on disk, in the disk's spelling
    QString name;                    ///< the kind of rule: the name of its RULE_SCHEMA, in any case
    bool inherit_properties = false; ///< what this rule leaves open comes from rules further away

private:
    FILE_FILTER_LIST m_file_filters; // against the path below the folder

public:
    /// What the rule itself sets. Key: the property's name as its RULE_PROPERTY
    /// spells it. A property that the rule leaves open has no entry; an empty
    /// value is never stored.
    QMap<QString, QVariant> properties;

    /// The text of a property, empty for one that the rule leaves open. `name` in
    /// any case.
    QString property(const QString& name) const;

    /// Sets a property, whose only spelling from then on is `name`; an empty
    /// value leaves it open.
    void set_property(const QString& name, const QString& value);

    /// The file filters as the user sees and types them, see
    /// FILE_FILTER_LIST::from_text. Empty: the rule holds for every file.
    QString get_file_filters() const;
    void set_file_filters(const QString& text);

    /// Whether the filters let a file pass; `path_below` is its path below the
    /// rule's folder, for a global rule the whole logical path.
    bool applies_to(const QString& path_below) const { return m_file_filters.matching(path_below); }

    const RULE_IDENTITY& identity() const { return m_identity; }

private:
    RULE_IDENTITY m_identity;
};
