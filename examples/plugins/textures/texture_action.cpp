#include "textures/texture_action.h"

#include <exception>
#include <utility>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_cache.h"
#include "session/file_entry.h"
#include "textures/mip_chain.h"
#include "textures/picture_reader.h"

namespace {

const int PROGRESS_STEPS = 100;

} // namespace

TEXTURE_ACTION::TEXTURE_ACTION(PROCESSOR_INTERFACE* maker, const LOGICAL_PATH& source,
                               const PHYSICAL_PATH& target)
    : ACTION_INTERFACE(maker), m_source(source), m_target(target)
{
    progress_total = PROGRESS_STEPS;
}

void TEXTURE_ACTION::abort()
{
    m_stop = true;
}

void TEXTURE_ACTION::reset()
{
    ACTION_INTERFACE::reset();
    m_stop = false;
}

QString TEXTURE_ACTION::display_text(bool long_form)
{
    return long_form ? static_cast<const QString&>(m_source) : m_source.section('/', -1, -1);
}

void TEXTURE_ACTION::collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets,
                                   QDateTime& stamp, LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&,
                                   RULE_CACHE& rules)
{
    inputs.append(m_source);

    ACTION_TARGET target;
    target.physical_path = m_target;
    target.logical_path = PATHS::logical_path(m_target);
    targets.append(target);

    stamp = rules.last_change(m_source, TEXTURE_RULE); // a changed rule outdates the texture
    const QString error = read_texture_rule(rules.get(m_source, TEXTURE_RULE), m_settings);
    if (!error.isEmpty())
        preset_errors.append(error);
}

int TEXTURE_ACTION::execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&)
{
    // No exception may leave a plugin; containers throw when memory runs out.
    try {
        return convert();
    } catch (const std::exception& exception) {
        return fail(QStringLiteral("%1: %2").arg(m_source, QString::fromLocal8Bit(exception.what())));
    }
}

int TEXTURE_ACTION::convert()
{
    if (input_files.isEmpty() || target_files.isEmpty())
        return fail(QStringLiteral("%1 is not there.").arg(m_source));
    QString error;
    QImage picture = read_picture(input_files.first()->physical, error);
    if (picture.isNull())
        return fail(error);

    const QSize size = picture.size();
    const MIP_CHAIN chain = mip_chain(size, m_settings.maximum_size, m_settings.mip_maps);
    ROW_COUNTER rows(chain.rows(size), progress_current, progress_total, m_stop);
    const int result = write(std::move(picture), chain, rows);
    if (result != ACTION_SUCCEEDED)
        return result;

    const bool is_odd = !has_power_of_two_sides(size);
    if (is_odd)
        add_output_line(
            QStringLiteral("Warning: %1 x %2 pixels; a side is no power of two, so smaller levels lose "
                           "rows or columns.")
                .arg(size.width())
                .arg(size.height()));
    add_output_line(QStringLiteral("%1 x %2 pixels became %3 x %4 in %5 level(s) of %6.")
                        .arg(size.width())
                        .arg(size.height())
                        .arg(chain.levels.first().width())
                        .arg(chain.levels.first().height())
                        .arg(chain.levels.size())
                        .arg(format_name(m_settings.format)));
    return is_odd ? ACTION_SUCCEEDED_WITH_WARNINGS : ACTION_SUCCEEDED;
}

// The picture is consumed level by level, so that only two sizes of it are in
// memory at a time.
int TEXTURE_ACTION::write(QImage picture, const MIP_CHAIN& chain, ROW_COUNTER& rows)
{
    TEXTURE_FILE file(target_files.firstKey()->physical, m_settings.format);
    if (!file.open(chain.levels))
        return fail(file.error());
    const int sizes = chain.halvings + chain.levels.size();
    for (int i = 0; i < sizes; ++i) {
        if (i > 0)
            picture = half_image(picture, rows);
        if (picture.isNull())
            return fail(rows.is_stopped() ? QStringLiteral("Stopped.")
                                          : QStringLiteral("There is no memory left."));
        if (i < chain.halvings)
            continue;
        for (int row = 0; row < picture.height(); ++row) {
            if (!file.write_row(picture, row))
                return fail(file.error());
            if (!rows.row_done())
                return fail(QStringLiteral("Stopped."));
        }
    }
    return file.commit() ? ACTION_SUCCEEDED : fail(file.error());
}

int TEXTURE_ACTION::fail(const QString& reason)
{
    add_output_line(reason);
    return ACTION_FAILED;
}
