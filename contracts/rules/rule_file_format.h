#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/rules/cached_rule.h"
#include "contracts/services/xml_file_reader.h"

// The text of a rule file. The format is described in docs/file-formats-rules.md.

/// The name of the outermost element.
constexpr const char* RULE_FILE_ROOT = "rules";

/// More rules in one file are taken for a fault.
constexpr int MAX_RULES_PER_FILE = 100000;

/// Reads the rules of an opened file, the oldest first; their folders are left
/// empty. False after an error, which `xml` tells.
bool read_rules(XML_FILE_READER& xml, QVector<CACHED_RULE>& rules);

/// How the lines of a file begin and end.
struct RULE_FILE_STYLE
{
    QByteArray line_end = "\n";
    QByteArray indent = "    ";           ///< of a rule
    QByteArray inner_indent = "        "; ///< of what a rule holds
};

// Pieces of a file. Some characters can't stand in XML at all: `why_not_readable`
// tells.

/// A file without rules.
QByteArray empty_rule_file();

/// The element of a rule, without the line end and indent in front of it.
QByteArray rule_element(const CACHED_RULE& rule, const RULE_FILE_STYLE& style);

QByteArray files_element(const QString& filters);
QByteArray property_element(const QString& name, const QString& value);

/// A text as the content of an element.
QByteArray escaped_for_rule_file(const QString& text);

/// What a rule says, however it is spelled. Where two rules of one folder give
/// the same, nobody would have to write one in place of the other.
QStringList meaning_of(const CACHED_RULE& rule);

/// Why `text`, which is to hold these rules, must not take the place of the file
/// `path`: it would not be read as them, in their order. Names the rule and the
/// property where one is at fault; empty when all is well.
QString why_not_readable(const QString& path, const QByteArray& text,
                         const QVector<const CACHED_RULE*>& rules);
