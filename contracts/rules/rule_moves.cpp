#include "contracts/rules/rule_moves.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

namespace {

class RULE_MOVER
{
public:
    RULE_MOVER(const QMap<int, RULE_MOVES>& files, const RULE_FILE_WRITE& write)
        : m_files(files), m_write(write)
    {
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            for (const quint64 line : file->arriving)
                m_targets[line].append(file.key());
    }

    // Whether what arrives in the file is on disk, once all that can be done for
    // that has been done.
    bool secure(int file)
    {
        if (!m_begun.contains(file)) {
            m_begun.insert(file);
            settle(file);
        } else if (!m_secured.contains(file) && !unwritten.contains(file)) {
            try_to_write(file, true); // the end of a ring
        }
        return m_secured.contains(file);
    }

    QMap<int, UNWRITTEN_FILE> unwritten;

private:
    void settle(int file)
    {
        int blamed = file;
        if (has_targets_in_danger(file, blamed) && !unwritten.contains(file))
            unwritten.insert(file, unwritten.value(blamed));
        if (!unwritten.contains(file))
            try_to_write(file, false);
    }

    bool has_targets_in_danger(int file, int& blamed)
    {
        const QVector<quint64> leaving = m_files.value(file).leaving;
        for (const quint64 line : leaving) {
            const QVector<int> targets = m_targets.value(line);
            for (const int target : targets) {
                if (target != file && !secure(target)) {
                    blamed = target;
                    return true;
                }
            }
        }
        return false;
    }

    void try_to_write(int file, bool keeps_leaving)
    {
        const QString cause = m_write(file, keeps_leaving);
        if (cause.isEmpty())
            m_secured.insert(file);
        else
            unwritten.insert(file, {cause, file});
    }

    const QMap<int, RULE_MOVES>& m_files;
    const RULE_FILE_WRITE& m_write;
    QHash<quint64, QVector<int>> m_targets; // line to the files that it arrives in
    QSet<int> m_begun;
    QSet<int> m_secured;
};

} // namespace

QMap<int, UNWRITTEN_FILE> write_without_loss(const QMap<int, RULE_MOVES>& files, const RULE_FILE_WRITE& write)
{
    RULE_MOVER mover(files, write);
    for (auto file = files.cbegin(); file != files.cend(); ++file)
        mover.secure(file.key());
    return mover.unwritten;
}
