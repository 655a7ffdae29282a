#pragma once

#include <QtCore/QHash>

#include <optional>

#include "contracts/services/file_digests.h"
#include "record/build_entry.h"

class BUILD_SESSION;
class PROCESSOR_INTERFACE;
struct ASKED_QUESTIONS;

/// What actions share with many others, as it is now: rules, asset graph, tables,
/// libraries of the plugins. Each is worked out once, but for tables, which an action may
/// change. GUI thread, or the build thread while a build runs; one at a time.
class PRESENT_SURROUNDINGS
{
public:
    /// `known` is what the record knows of libraries. The session must outlive this
    /// object.
    PRESENT_SURROUNDINGS(const BUILD_SESSION& session, const QVector<KNOWN_FILE>& known);

    DIGEST rules();
    DIGEST graph();
    DIGEST library_of(const PROCESSOR_INTERFACE& processor); ///< null: can't be told
    DIGEST table(const QString& name) const;                 ///< null: equal to none

    /// Of an action of that processor that asked these questions.
    SURROUNDINGS of(const PROCESSOR_INTERFACE& processor, const ASKED_QUESTIONS& asked);

    /// Whether they are now as they were for an action of that processor. Calls of one
    /// object give the same answer for the same two.
    bool hold(const SURROUNDINGS& former, const PROCESSOR_INTERFACE& processor);

    QString library_name(const PROCESSOR_INTERFACE& processor) const; ///< without its folder

    QVector<KNOWN_FILE> libraries() const { return m_digests.asked(); }

private:
    const BUILD_SESSION& m_session;
    FILE_DIGESTS m_digests;
    QHash<const PROCESSOR_INTERFACE*, DIGEST> m_libraries;
    std::optional<DIGEST> m_rules;
    std::optional<DIGEST> m_graph;
};
