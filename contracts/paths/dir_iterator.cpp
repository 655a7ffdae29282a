#include "contracts/paths/dir_iterator.h"

DIR_ITERATOR::DIR_ITERATOR(const QString& directory)
    : has_next(false), m_walk(directory, QDir::AllEntries | QDir::Hidden | QDir::System)
{
    look_ahead();
}

const QString& DIR_ITERATOR::next()
{
    if (has_next) {
        current = m_waiting;
        look_ahead();
    }
    return current.name;
}

void DIR_ITERATOR::look_ahead()
{
    has_next = m_walk.hasNext();
    if (!has_next)
        return;
    m_walk.next();
    const QFileInfo info = m_walk.fileInfo();
    m_waiting.is_directory = info.isDir();
    m_waiting.name = m_walk.fileName();
    m_waiting.modified = info.lastModified().toUTC();
}
