#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include "contracts/rules/cached_rule.h"
#include "contracts/services/xml_file_reader.h"

// The text of a rule file. The format is described in docs/file-formats-rules.md.

/// Reads the rules of an opened file, the oldest first; their folders are left
/// empty. False after an error, which `xml` tells.
bool read_rules(XML_FILE_READER& xml, QVector<CACHED_RULE>& rules);

/// The text of a file with these rules, in their order. Empty when a rule holds
/// characters that can't stand in XML; whether the others come back as they are
/// is for the caller to see.
QByteArray rule_file_text(const QVector<const CACHED_RULE*>& rules);

/// The name of the outermost element.
constexpr const char* RULE_FILE_ROOT = "rules";

/// More rules in one file are taken for a fault.
constexpr int MAX_RULES_PER_FILE = 100000;
