#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QString>

#include "contracts/export.h"

/// Puts the tagged output of the Perforce client ("p4 -ztag") together, line by
/// line:
///
///     ... depotFile //depot/raw_data/a.tga
///     ... headRev 3
///
/// A field's name ends at the first blank, its value is the rest of the line; a
/// field of several values ("... ... otherOpen0") is passed over. An empty line
/// or the end of the output ends a record. Anything else is no tagged output.
/// Numbers of fields and of bytes in a line are bounded. One thread at a time.
class GOX_CONTRACTS_EXPORT P4_TAGGED_OUTPUT
{
public:
    using RECORD = QHash<QByteArray, QByteArray>; ///< fields by name; of equal ones the last

    enum STEP
    {
        IN_RECORD,  ///< between records, or in one that goes on
        RECORD_END, ///< `record` is complete
        BROKEN,     ///< `error` says why; `record` holds nothing to use
    };

    static constexpr int MAX_LINE = 64 << 10; ///< bytes
    static constexpr int MAX_FIELDS = 1000;   ///< in a record

    /// Takes the next line, without its line end. The step after RECORD_END
    /// begins a new record.
    STEP add_line(const QByteArray& line);

    /// The output is at its end: RECORD_END when a record was still open.
    STEP finish() { return add_line(QByteArray()); }

    const RECORD& record() const { return m_record; }
    const QString& error() const { return m_error; } ///< empty while all was tagged output

private:
    STEP fail(const QString& cause);

    RECORD m_record;
    bool m_is_complete = false;
    QString m_error;
};
