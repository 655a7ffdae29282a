#pragma once

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// Finds the places on disk of texts that know no letter case, name by name.
///
/// What a folder holds is read once and remembered, and of that only the names that
/// are not in lower case, so that a look-up costs no visit to the disk and a tree in
/// lower case costs no memory. Where several names differ only in letter case all
/// of them count, in the order of their UTF-16 code units. On Windows the one in lower
/// case counts only where there is no other.
///
/// Names that come to the disk later in another spelling than lower case are found
/// after `forget`. Any thread.
class DISK_SPELLING
{
public:
    /// Every place below the folder `root`, which is taken as it stands, that `rest`
    /// ("/folder/name") stands for; nothing when nothing is there.
    QStringList all(const QString& root, const QString& rest);

    /// The first of these. When nothing is there: the first folder that is, as far as
    /// the way goes, and the rest as it stands.
    QString place(const QString& root, const QString& rest);

    void forget();

private:
    using NAMES = QMultiHash<QString, QString>; // names not in lower case, by their lower case

    // What a folder of the tree is on disk.
    struct FOLDER
    {
        QStringList places;
        QVector<NAMES> odd_names; // in each of them
    };

    const FOLDER& folder(const QString& root, const QStringRef& rest);
    FOLDER sub_folder(const FOLDER& above, const QString& name);
    QStringList children(const FOLDER& folder, const QString& name, bool only_folders,
                         bool only_first = false);

    QMutex m_mutex;                   // guards what is remembered
    QHash<QString, FOLDER> m_folders; // by root and the rest in lower case

    // The folder that was asked for last: whoever asks for many files asks for those
    // of a folder one after another.
    QString m_last_root;
    QString m_last_rest;
    const FOLDER* m_last = nullptr;
};
