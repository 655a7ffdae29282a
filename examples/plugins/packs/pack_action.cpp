#include "packs/pack_action.h"

#include <algorithm>
#include <exception>

#include "contracts/paths/paths.h"
#include "packs/contents_table.h"
#include "packs/pack_members.h"
#include "session/file_entry.h"

namespace {

const int PROGRESS_STEPS = 100;

} // namespace

PACK_ACTION::PACK_ACTION(PROCESSOR_INTERFACE* maker, const QString& pack,
                         const QVector<LOGICAL_PATH>& members)
    : ACTION_INTERFACE(maker),
      m_pack(pack),
      m_target(QStringLiteral("<retail>/%1.zip").arg(pack)),
      m_members(members)
{
    progress_total = PROGRESS_STEPS;
}

void PACK_ACTION::abort()
{
    m_stop = true;
}

void PACK_ACTION::reset()
{
    ACTION_INTERFACE::reset();
    m_stop = false;
}

QString PACK_ACTION::display_text(bool long_form)
{
    return long_form ? static_cast<const QString&>(m_target) : m_pack;
}

void PACK_ACTION::collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime&,
                                LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&)
{
    inputs = m_members;

    ACTION_TARGET target;
    target.logical_path = m_target;
    target.physical_path = PATHS::target_path(m_target);
    targets.append(target);
}

// That a pack waits for its textures follows from the files; that selecting the
// pack selects its textures too is said here.
void PACK_ACTION::resolve_dependencies(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&)
{
    for (const FILE_ENTRY* const member : qAsConst(input_files))
        for (ACTION_INTERFACE* const provider : member->providers)
            add_dependency(*provider, true);
}

int PACK_ACTION::execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&)
{
    // No exception may leave a plugin; containers throw when memory runs out.
    try {
        return write();
    } catch (const std::exception& exception) {
        return fail(QStringLiteral("%1: %2").arg(m_target, QString::fromLocal8Bit(exception.what())));
    }
}

int PACK_ACTION::write()
{
    QVector<PACK_MEMBER> members;
    bool has_contents = false;
    for (const FILE_ENTRY* const file : qAsConst(input_files)) {
        if (file->virtual_file)
            has_contents = true; // the one file that is not on disk
        else
            members.append({asset_name(PATHS::logical_path(file->physical)), file->physical, QByteArray()});
    }
    std::sort(members.begin(), members.end(),
              [](const PACK_MEMBER& a, const PACK_MEMBER& b) { return a.name < b.name; });
    QString error;
    if (has_contents && !add_contents(members, error))
        return fail(error);

    error =
        write_pack(target_files.firstKey()->physical, members, {progress_current, progress_total, m_stop});
    if (!error.isEmpty())
        return fail(m_stop ? QStringLiteral("Stopped.") : error);
    if (!has_contents)
        add_output_line(
            QStringLiteral("Warning: the table \"packs\" does not describe \"%1\", so the pack has no %2.")
                .arg(m_pack, CONTENTS_NAME));
    add_output_line(QStringLiteral("%1 file(s) were packed:").arg(members.size()));
    for (const PACK_MEMBER& member : qAsConst(members))
        add_output_line(member.name);
    return has_contents ? ACTION_SUCCEEDED : ACTION_SUCCEEDED_WITH_WARNINGS;
}

bool PACK_ACTION::add_contents(QVector<PACK_MEMBER>& members, QString& error) const
{
    QStringList names;
    for (const PACK_MEMBER& member : qAsConst(members))
        names.append(member.name);
    const QByteArray text = pack_contents(*s_database, m_pack, names, error);
    if (error.isEmpty())
        members.prepend({CONTENTS_NAME, QString(), text});
    return error.isEmpty();
}

int PACK_ACTION::fail(const QString& reason)
{
    add_output_line(reason);
    return ACTION_FAILED;
}
