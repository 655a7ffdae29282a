#include "contracts/services/asset_graph.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <memory>

#include "contracts/services/asset_graph_cache.h"
#include "contracts/services/asset_graph_digest.h"
#include "contracts/services/asset_graph_index.h"
#include "contracts/services/asset_graph_problems.h"
#include "contracts/services/asset_graph_reader.h"
#include "contracts/services/question_log.h"
#include "contracts/services/whole_file.h"

#ifdef Q_OS_WIN
#include "contracts/services/windows_files.h"
#endif

namespace QTSHARED {
namespace {

// A file changed this shortly ago could change again without its times and size
// telling: they count in steps.
constexpr qint64 SETTLED_AFTER_MS = 2000;

std::function<QString(QString)>& name_callback()
{
    static std::function<QString(QString)> callback;
    return callback;
}

qint64 change_time(const QFileInfo& info)
{
#ifdef Q_OS_WIN
    return WINDOWS_FILES::change_time(info.filePath());
#else
    return info.metadataChangeTime().toMSecsSinceEpoch();
#endif
}

AGF_STAMP stamp_of(const QString& path)
{
    const QFileInfo info(path);
    AGF_STAMP stamp;
    stamp.modified = info.lastModified().toMSecsSinceEpoch();
    stamp.changed = change_time(info);
    const qint64 settled = QDateTime::currentMSecsSinceEpoch() - SETTLED_AFTER_MS;
    if (info.isFile() && stamp.modified < settled && stamp.changed < settled)
        stamp.size = info.size();
    return stamp;
}

AGF_FRAGMENTS numbered(const QVector<AGF_ASSET>& assets, ASSET_GRAPH_DATA& graph)
{
    AGF_FRAGMENTS file;
    for (const AGF_ASSET& asset : assets) {
        ASSET_USES entry;
        entry.asset = graph.number(asset.name);
        entry.uses.reserve(asset.uses.size());
        for (const QString& used : asset.uses)
            entry.uses.append(graph.number(used));
        file.assets.append(entry);
    }
    return file;
}

// Adds those files of `other` that `graph` does not know.
void add_unknown_files(const ASSET_GRAPH_DATA& other, ASSET_GRAPH_DATA& graph)
{
    for (auto file = other.files.begin(); file != other.files.end(); ++file) {
        if (graph.files.contains(file.key()))
            continue;
        AGF_FRAGMENTS copy = file.value();
        for (ASSET_USES& asset : copy.assets) {
            asset.asset = graph.number(other.names.at(asset.asset));
            for (int& used : asset.uses)
                used = graph.number(other.names.at(used));
        }
        graph.files.insert(file.key(), copy);
    }
}

// A graph that holds no names but those that its files mention.
ASSET_GRAPH_DATA without_unused_names(const ASSET_GRAPH_DATA& graph)
{
    ASSET_GRAPH_DATA result;
    add_unknown_files(graph, result);
    return result;
}

QString read_cache(const QString& path, ASSET_GRAPH_DATA& graph)
{
    if (!QFileInfo(path).isFile())
        return QStringLiteral("it is not a file");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    const QByteArray header = file.peek(ASSET_GRAPH_CACHE_HEADER);
    const QString fault =
        file.error() == QFile::NoError ? asset_graph_header_fault(header, file.size()) : file.errorString();
    if (!fault.isEmpty())
        return fault;
    const QByteArray bytes = file.read(file.size()); // as much is allocated, whatever is there
    return file.error() == QFile::NoError ? unpack_asset_graph(bytes, graph) : file.errorString();
}

} // namespace

void set_absolute_to_relative_path_callback_for_asset_graph(std::function<QString(QString)> callback)
{
    name_callback() = std::move(callback);
}

struct ASSET_GRAPH::STATE
{
    ASSET_GRAPH_DATA graph;
    std::unique_ptr<ASSET_GRAPH_INDEX> index; // null after a change
    DIGEST digest;                            // of the graph; null after a change
    DIGEST told_before;                       // of what was asked and forgotten since; null for nothing
    bool is_told = false;                     // somebody whose questions are noted knows the graph as it is

    void note_question() { is_told = QUESTION_LOG::graph_asked() || is_told; }

    void note_change()
    {
        index.reset();
        digest = DIGEST();
        is_told = false;
    }

    const DIGEST& digested()
    {
        if (digest.is_null())
            digest = digest_of_asset_graph(graph);
        return digest;
    }

    DIGEST digest_of_all_told()
    {
        const DIGEST both[] = {told_before, digested()};
        return told_before.is_null() ? digest : digest_of(both, sizeof both);
    }

    const ASSET_GRAPH_INDEX& indexed()
    {
        if (!index)
            index = std::make_unique<ASSET_GRAPH_INDEX>(graph);
        return *index;
    }
};

ASSET_GRAPH::ASSET_GRAPH() : m_state(new STATE) {}

ASSET_GRAPH::~ASSET_GRAPH() = default;

bool ASSET_GRAPH::load_binary(const QString& path, QStringList& errors, bool keep_known)
{
    if (!QFileInfo::exists(path))
        return false;
    ASSET_GRAPH_DATA cached;
    const QString cause = read_cache(path, cached);
    if (!cause.isEmpty()) {
        errors.append(QStringLiteral("%1: the asset graph cache is ignored: %2").arg(path, cause));
        return false;
    }
    if (keep_known)
        add_unknown_files(cached, m_state->graph);
    else
        m_state->graph = cached;
    m_state->note_change();
    return true;
}

bool ASSET_GRAPH::save_binary(const QString& path, QString& error) const
{
    m_state->note_question();
    const QByteArray bytes = pack_asset_graph(without_unused_names(m_state->graph));
    error = bytes.isEmpty() ? QStringLiteral("%1: can't be written: it would be larger than %2 bytes")
                                  .arg(path)
                                  .arg(MAX_ASSET_GRAPH_CACHE_BYTES)
                            : write_whole_file(path, bytes);
    return error.isEmpty();
}

bool ASSET_GRAPH::add(const QString& agf_path, QString& error)
{
    error.clear();
    const QString name = name_callback() ? name_callback()(agf_path) : agf_path;
    const AGF_STAMP stamp = stamp_of(agf_path);
    const auto known = m_state->graph.files.find(name);
    const bool is_known = known != m_state->graph.files.end();
    if (is_known && known->stamp == stamp && (known->path.isEmpty() || known->path == agf_path)) {
        known->path = agf_path;
        return true;
    }
    QVector<AGF_ASSET> assets;
    error = read_agf(agf_path, assets);
    if (!error.isEmpty())
        return false;
    AGF_FRAGMENTS file = numbered(assets, m_state->graph);
    file.stamp = stamp;
    file.path = agf_path;
    m_state->graph.files.insert(name, file);
    m_state->note_change();
    return true;
}

void ASSET_GRAPH::check_dependencies(QStringList& errors) const
{
    m_state->note_question();
    find_asset_graph_problems(m_state->graph, m_state->indexed(), errors);
}

QStringList ASSET_GRAPH::get_all_agf_filenames() const
{
    m_state->note_question();
    return m_state->graph.files.keys();
}

void ASSET_GRAPH::remove_fragments_by_agf_filename(const QString& name)
{
    if (!m_state->graph.files.contains(name))
        return;
    if (m_state->is_told)
        m_state->told_before = m_state->digest_of_all_told();
    m_state->graph.files.remove(name);
    m_state->note_change();
}

QStringList ASSET_GRAPH::assets() const
{
    m_state->note_question();
    QStringList result;
    const QVector<int>& sorted = m_state->indexed().sorted;
    result.reserve(sorted.size());
    for (const int asset : sorted)
        result.append(m_state->graph.names.at(asset));
    return result;
}

QStringList ASSET_GRAPH::dependencies_of(const QString& asset) const
{
    m_state->note_question();
    const ASSET_GRAPH_DATA& graph = m_state->graph;
    const ASSET_LISTS& uses = m_state->indexed().uses;
    const int number = graph.numbers.value(asset, -1);
    QStringList result;
    if (number >= 0)
        std::for_each(uses.first(number), uses.last(number),
                      [&](int used) { result.append(graph.names.at(used)); });
    return result;
}

DIGEST ASSET_GRAPH::digest() const
{
    return m_state->digest_of_all_told();
}

} // namespace QTSHARED
