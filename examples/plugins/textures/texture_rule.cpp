#include "textures/texture_rule.h"

#include "contracts/rules/cached_rule.h"
#include "contracts/rules/rule.h"
#include "contracts/rules/rule_schema.h"

const QString TEXTURE_RULE = QStringLiteral("Texture");

namespace {

const QString MAXIMUM_SIZE = QStringLiteral("Maximum size");
const QString FORMAT = QStringLiteral("Format");
const QString MIP_MAPS = QStringLiteral("Mip maps");

const struct
{
    TEXTURE_FORMAT format;
    const char* name;
} FORMATS[] = {
    {TEXTURE_FORMAT::RGBA8, "rgba8"},
    {TEXTURE_FORMAT::RGB565, "rgb565"},
    {TEXTURE_FORMAT::GREY8, "grey8"},
};

// Each of these leaves the setting alone and gives false for a text without meaning.
bool read_size(const QString& text, int& size)
{
    bool is_number = false;
    const int number = text.trimmed().toInt(&is_number);
    if (!is_number || number < 1 || number > MAX_PICTURE_SIDE)
        return false;
    size = number;
    return true;
}

bool read_format(const QString& text, TEXTURE_FORMAT& format)
{
    for (const auto& known : FORMATS)
        if (text.trimmed().compare(QLatin1String(known.name), Qt::CaseInsensitive) == 0) {
            format = known.format;
            return true;
        }
    return false;
}

bool read_switch(const QString& text, bool& is_on)
{
    const QString word = text.trimmed().toLower();
    if (word != QLatin1String("yes") && word != QLatin1String("no"))
        return false;
    is_on = word == QLatin1String("yes");
    return true;
}

template <typename READ, typename SETTING>
QString read_value(const RULE& rule, const QString& property, READ read, SETTING& setting,
                   const QString& wanted)
{
    const auto place = rule.values.constFind(property.toLower());
    if (place == rule.values.constEnd() || read(place->value.toString(), setting))
        return {};
    const QString& folder = place->origin->physical_path;
    return QStringLiteral("The rule \"%1\" of %2 has \"%3\" for \"%4\"; %5 is wanted.")
        .arg(TEXTURE_RULE, folder, place->value.toString(), property, wanted);
}

} // namespace

void register_texture_rule()
{
    RULE_SCHEMA::register_schema(
        TEXTURE_RULE, QStringLiteral("How pictures become textures"),
        {{MAXIMUM_SIZE, QStringLiteral("Pixels a side; a larger picture is halved until it fits")},
         {FORMAT, QStringLiteral("rgba8, rgb565 or grey8")},
         {MIP_MAPS, QStringLiteral("yes or no: whether smaller levels follow the first")}});
}

QString read_texture_rule(const RULE& rule, TEXTURE_SETTINGS& settings)
{
    QString error = read_value(rule, MAXIMUM_SIZE, read_size, settings.maximum_size,
                               QStringLiteral("a number from 1 to %1").arg(MAX_PICTURE_SIDE));
    if (error.isEmpty())
        error =
            read_value(rule, FORMAT, read_format, settings.format, QStringLiteral("rgba8, rgb565 or grey8"));
    if (error.isEmpty())
        error = read_value(rule, MIP_MAPS, read_switch, settings.mip_maps, QStringLiteral("yes or no"));
    return error;
}

QString format_name(TEXTURE_FORMAT format)
{
    for (const auto& known : FORMATS)
        if (known.format == format)
            return QString::fromLatin1(known.name);
    return {};
}
