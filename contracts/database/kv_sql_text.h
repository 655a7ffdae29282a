#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>

/// Whether the text of a query can be let at the records: it is a single SELECT
/// (or VALUES), bounded in length, and uses nothing that reaches beyond the
/// tables or might never end by itself, such as WITH. The cause, or empty; then
/// `words` holds what may be names of tables in it, in lower case: everything
/// outside of comments, and of the texts in single quotes those that stand where a
/// table can. Any thread.
QString kv_query_text_problem(const QString& sql, QSet<QString>& words);
