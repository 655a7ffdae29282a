#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include "contracts/export.h"

/// The connection to Perforce, built once by the program and handed to what
/// saves files under version control. It is never used on its own account: the
/// build flow asks nothing of it. Main thread.
class GOX_CONTRACTS_EXPORT P4_CONNECTION
{
public:
    /// `use_environment`: take server, user and workspace from the environment.
    /// `never_prompt`: fail where a question would have to be asked.
    /// `enabled`: without it no operation touches Perforce.
    P4_CONNECTION(bool use_environment, bool never_prompt, bool enabled);
    ~P4_CONNECTION();

    /// Whether files are under version control in this run.
    bool is_enabled() const { return m_enabled; }

    /// Opens files of the depot for edit. Empty on success, and then every one
    /// of them can be written on disk.
    QString open_for_edit(const QStringList& files);

    /// Opens files that the depot does not have for add. Empty on success.
    QString open_for_add(const QStringList& files);

private:
    Q_DISABLE_COPY(P4_CONNECTION)

    bool m_enabled;
};
