#include "selection/data_selection_file_model.h"

#include "contracts/actions/action_interface.h"
#include "selection/file_tree_builder.h"
#include "session/file_entry.h"

// Outside of any namespace, as the macro wants it.
static QIcon resource_icon(const char* name)
{
    Q_INIT_RESOURCE(gox);
    return QIcon(QLatin1String(name));
}

namespace {

const char* const PREFIXES[] = {"<raw>/", "<working>/", "<retail>/"};
const char* const HEADERS[] = {QT_TRANSLATE_NOOP("DATA_SELECTION_FILE_MODEL", "Raw Data"),
                               QT_TRANSLATE_NOOP("DATA_SELECTION_FILE_MODEL", "Working Data"),
                               QT_TRANSLATE_NOOP("DATA_SELECTION_FILE_MODEL", "Retail Data")};
const int KINDS = 3;

const Qt::ItemFlags PLAIN_ROW = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
const Qt::ItemFlags CHECKABLE_ROW = PLAIN_ROW | Qt::ItemIsUserCheckable | Qt::ItemIsAutoTristate;

bool has_actions(const FILE_ENTRY* file)
{
    return file && (!file->providers.isEmpty() || !file->consumers.isEmpty());
}

// A check state that is put together from many.
class MERGED_STATE
{
public:
    void add(int state)
    {
        if (!m_has_value)
            m_state = state;
        else if (state != m_state)
            m_state = Qt::PartiallyChecked;
        m_has_value = true;
    }
    bool is_settled() const { return m_state == Qt::PartiallyChecked; }
    std::pair<int, bool> result() const { return {m_state, m_has_value}; }

private:
    int m_state = Qt::Unchecked;
    bool m_has_value = false;
};

// The folder's own files first, then those of one sub-folder after the other.
template <typename VISITOR>
void visit_files(const DATA_SELECTION_FOLDER* folder, bool recursive, const VISITOR& visit)
{
    auto place = folder->first_file;
    for (int i = 0; i < folder->file_count; ++i, ++place)
        visit(place.value());
    if (recursive)
        for (const DATA_SELECTION_FOLDER* child : folder->children)
            visit_files(child, true, visit);
}

bool update_has_actions(DATA_SELECTION_FOLDER* folder)
{
    bool found = false;
    auto place = folder->first_file;
    for (int i = 0; i < folder->file_count && !found; ++i, ++place)
        found = has_actions(place.value());
    for (DATA_SELECTION_FOLDER* child : qAsConst(folder->children))
        found |= update_has_actions(child);
    return folder->has_actions = found;
}

} // namespace

DATA_SELECTION_FOLDER::DATA_SELECTION_FOLDER(DATA_SELECTION_FOLDER* containing, const QStringRef& own_name,
                                             const FILE_MAP::const_iterator& place)
    : parent(containing), first_file(place), m_text(own_name.string() ? *own_name.string() : QString())
{
    if (own_name.string())
        name = QStringRef(&m_text, own_name.position(), own_name.length());
}

DATA_SELECTION_FOLDER::~DATA_SELECTION_FOLDER()
{
    qDeleteAll(children);
}

DATA_SELECTION_FILE_MODEL::DATA_SELECTION_FILE_MODEL(FILE_MAP* files, int kind, QObject* parent)
    : QAbstractItemModel(parent),
      file_map(files),
      root(nullptr, QStringRef(), files->begin()),
      root_kind(qBound(0, kind, KINDS - 1)),
      m_folder_icon(resource_icon(":/icons/folder")),
      m_file_icon(resource_icon(":/icons/file"))
{
    build_file_tree(root, *files, QLatin1String(PREFIXES[root_kind]));
    update_has_actions(&root);
}

DATA_SELECTION_FOLDER* DATA_SELECTION_FILE_MODEL::containing_folder(const QModelIndex& index)
{
    return static_cast<DATA_SELECTION_FOLDER*>(index.internalPointer());
}

DATA_SELECTION_FOLDER* DATA_SELECTION_FILE_MODEL::own_folder(const QModelIndex& index)
{
    const DATA_SELECTION_FOLDER* folder = containing_folder(index);
    return folder && index.row() < folder->children.size() ? folder->children.at(index.row()) : nullptr;
}

const DATA_SELECTION_FOLDER* DATA_SELECTION_FILE_MODEL::folder_of_rows(const QModelIndex& parent) const
{
    return parent.isValid() ? own_folder(parent) : &root;
}

bool DATA_SELECTION_FILE_MODEL::is_row(const QModelIndex& index)
{
    const DATA_SELECTION_FOLDER* folder = containing_folder(index);
    return folder && index.row() < folder->children.size() + folder->file_count;
}

QModelIndex DATA_SELECTION_FILE_MODEL::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column != 0 || row >= rowCount(parent))
        return QModelIndex();
    return createIndex(row, column, const_cast<DATA_SELECTION_FOLDER*>(folder_of_rows(parent)));
}

QModelIndex DATA_SELECTION_FILE_MODEL::parent(const QModelIndex& index) const
{
    const DATA_SELECTION_FOLDER* folder = containing_folder(index);
    if (!folder || !folder->parent)
        return QModelIndex();
    return createIndex(folder->row, 0, folder->parent);
}

int DATA_SELECTION_FILE_MODEL::rowCount(const QModelIndex& parent) const
{
    const DATA_SELECTION_FOLDER* folder = folder_of_rows(parent);
    return folder ? folder->children.size() + folder->file_count : 0;
}

int DATA_SELECTION_FILE_MODEL::columnCount(const QModelIndex&) const
{
    return 1;
}

QVariant DATA_SELECTION_FILE_MODEL::data(const QModelIndex& index, int role) const
{
    if (!is_row(index))
        return QVariant();
    const DATA_SELECTION_FOLDER* folder = own_folder(index);
    switch (role) {
    case Qt::DisplayRole: {
        if (folder)
            return folder->name.toString();
        const FILE_ENTRY* file = file_entry(index);
        return file ? file->physical.section('/', -1) : QVariant();
    }
    case Qt::DecorationRole:
        return folder ? m_folder_icon : m_file_icon;
    case Qt::CheckStateRole:
        return flags(index) & Qt::ItemIsUserCheckable ? check_state(index) : QVariant();
    default:
        return QVariant();
    }
}

bool DATA_SELECTION_FILE_MODEL::setData(const QModelIndex& index, const QVariant&, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole)
        return false;
    emit item_checked(index);
    return true;
}

QVariant DATA_SELECTION_FILE_MODEL::headerData(int section, Qt::Orientation, int role) const
{
    return section < 1 && role == Qt::DisplayRole ? tr(HEADERS[root_kind]) : QVariant();
}

Qt::ItemFlags DATA_SELECTION_FILE_MODEL::flags(const QModelIndex& index) const
{
    if (!is_row(index))
        return Qt::NoItemFlags;
    const DATA_SELECTION_FOLDER* folder = own_folder(index);
    return (folder ? folder->has_actions : has_actions(file_entry(index))) ? CHECKABLE_ROW : PLAIN_ROW;
}

FILE_ENTRY* DATA_SELECTION_FILE_MODEL::file_entry(const QModelIndex& index) const
{
    if (!is_row(index) || own_folder(index))
        return nullptr;
    const DATA_SELECTION_FOLDER* folder = containing_folder(index);
    return (folder->first_file + (index.row() - folder->children.size())).value();
}

int DATA_SELECTION_FILE_MODEL::file_check_state(const FILE_ENTRY* file)
{
    if (!file)
        return Qt::Unchecked;
    bool some_selected = false;
    bool some_not = false;
    for (const QVector<ACTION_INTERFACE*>* actions : {&file->providers, &file->consumers})
        for (const ACTION_INTERFACE* action : *actions) {
            (action->selection_count >= 1 ? some_selected : some_not) = true;
            if (some_selected && some_not)
                return Qt::PartiallyChecked;
        }
    return some_selected ? Qt::Checked : Qt::Unchecked;
}

int DATA_SELECTION_FILE_MODEL::check_state(const QModelIndex& index) const
{
    const DATA_SELECTION_FOLDER* folder = own_folder(index);
    return folder ? folder->check_state : file_check_state(file_entry(index));
}

void DATA_SELECTION_FILE_MODEL::select_file(FILE_ENTRY* file, bool selected)
{
    if (!file)
        return;
    const QVector<ACTION_INTERFACE*> actions = file->consumers + file->providers;
    for (ACTION_INTERFACE* action : actions)
        emit action_selected(action, selected);
}

void DATA_SELECTION_FILE_MODEL::select_folder(const DATA_SELECTION_FOLDER* folder, bool selected,
                                              bool recursive)
{
    visit_files(folder, recursive, [&](FILE_ENTRY* file) { select_file(file, selected); });
}

void DATA_SELECTION_FILE_MODEL::select_index(const QModelIndex& index, bool selected, bool recursive)
{
    if (const DATA_SELECTION_FOLDER* folder = own_folder(index))
        select_folder(folder, selected, recursive);
    else
        select_file(file_entry(index), selected);
}

void DATA_SELECTION_FILE_MODEL::visit_files_at(const QModelIndex& index,
                                               const std::function<void(const FILE_ENTRY&)>& visit) const
{
    const auto visit_known = [&](const FILE_ENTRY* file) {
        if (file)
            visit(*file);
    };
    if (const DATA_SELECTION_FOLDER* folder = own_folder(index))
        visit_files(folder, true, visit_known);
    else
        visit_known(file_entry(index));
}

void DATA_SELECTION_FILE_MODEL::collect_file_actions(const QModelIndex& index,
                                                     QSet<ACTION_INTERFACE*>& providers,
                                                     QSet<ACTION_INTERFACE*>& consumers) const
{
    visit_files_at(index, [&](const FILE_ENTRY& file) {
        for (ACTION_INTERFACE* action : file.providers)
            providers.insert(action);
        for (ACTION_INTERFACE* action : file.consumers)
            consumers.insert(action);
    });
}

void DATA_SELECTION_FILE_MODEL::collect_file_actions(const QModelIndex& index,
                                                     QVector<ACTION_INTERFACE*>& providers,
                                                     QVector<ACTION_INTERFACE*>& consumers) const
{
    visit_files_at(index, [&](const FILE_ENTRY& file) {
        providers += file.providers;
        consumers += file.consumers;
    });
}

std::pair<int, bool> DATA_SELECTION_FILE_MODEL::update_check_states(DATA_SELECTION_FOLDER* folder)
{
    MERGED_STATE merged;
    auto place = folder->first_file;
    for (int i = 0; i < folder->file_count && !merged.is_settled(); ++i, ++place)
        if (has_actions(place.value()))
            merged.add(file_check_state(place.value()));
    for (DATA_SELECTION_FOLDER* child : qAsConst(folder->children)) {
        const auto [state, has_value] = update_check_states(child);
        if (has_value)
            merged.add(state);
    }
    folder->check_state = merged.result().first;
    return merged.result();
}

void DATA_SELECTION_FILE_MODEL::emit_rows_changed()
{
    emit_rows_changed(&root);
}

void DATA_SELECTION_FILE_MODEL::emit_rows_changed(DATA_SELECTION_FOLDER* folder)
{
    const int count = folder->children.size() + folder->file_count;
    if (count == 0)
        return;
    emit dataChanged(createIndex(0, 0, folder), createIndex(count, 0, folder));
    for (DATA_SELECTION_FOLDER* child : qAsConst(folder->children))
        emit_rows_changed(child);
}

void DATA_SELECTION_FILE_MODEL::refresh()
{
    update_check_states(&root);
    emit_rows_changed();
}

DATA_SELECTION_FOLDER* DATA_SELECTION_FILE_MODEL::find_folder(const QStringRef& name,
                                                              const DATA_SELECTION_FOLDER* folder,
                                                              bool recursive)
{
    for (DATA_SELECTION_FOLDER* child : folder->children) {
        if (child->name == name)
            return child;
        if (recursive)
            if (DATA_SELECTION_FOLDER* found = find_folder(name, child, true))
                return found;
    }
    return nullptr;
}
