#include "app/readable_style.h"

#include <QtWidgets/QStyleOptionButton>
#include <QtWidgets/QStyleOptionViewItem>

#include "contracts/services/colour_contrast.h"

namespace {

const double OUTLINE_CONTRAST = 4.5; // which leaves LEAST_CONTRAST when a style blends it
const int STEPS = 20;                // from a colour to the one that it goes to

/// The first colour on the way from `from` to `to` that has so much contrast with all
/// of `grounds`; `to` when none has.
QColor seen_on(const QList<QColor>& grounds, const QColor& from, const QColor& to, double least)
{
    for (int step = 0; step < STEPS; ++step) {
        const auto part = [step](int one, int other) { return one + (other - one) * step / STEPS; };
        const QColor between(part(from.red(), to.red()), part(from.green(), to.green()),
                             part(from.blue(), to.blue()));
        const auto hides_it = [&](const QColor& ground) { return contrast(between, ground) < least; };
        if (std::none_of(grounds.begin(), grounds.end(), hides_it))
            return between;
    }
    return to;
}

// Styles make the outline out of these, by about a quarter darker than the window for a
// check box and a third for a radio button.
QPalette with_outlines(QPalette palette)
{
    const QColor base = palette.base().color();
    const QColor outline = seen_on({base}, base, palette.text().color(), OUTLINE_CONTRAST);
    palette.setColor(QPalette::Window, outline.lighter(127));
    palette.setColor(QPalette::Dark, outline);
    return palette;
}

} // namespace

READABLE_STYLE::READABLE_STYLE(const QString& base) : QProxyStyle(base) {}

void READABLE_STYLE::polish(QPalette& palette)
{
    QProxyStyle::polish(palette);
    for (const auto& [text, ground] :
         {std::pair(QPalette::WindowText, QPalette::Window), std::pair(QPalette::Text, QPalette::Base),
          std::pair(QPalette::ButtonText, QPalette::Button)}) {
        const QColor window = palette.color(QPalette::Disabled, QPalette::Window);
        palette.setColor(QPalette::Disabled, text,
                         seen_on({palette.color(QPalette::Disabled, ground), window},
                                 palette.color(QPalette::Disabled, text),
                                 palette.color(QPalette::Active, text), LEAST_CONTRAST));
    }
}

void READABLE_STYLE::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                   const QWidget* widget) const
{
    // Those in front of rows come here as check boxes, or are drawn in the colour of texts.
    const bool is_box = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton;
    const auto* const whole = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (!is_box || !whole)
        return QProxyStyle::drawPrimitive(element, option, painter, widget);
    QStyleOptionButton button(*whole);
    button.palette = with_outlines(button.palette);
    QProxyStyle::drawPrimitive(element, &button, painter, widget);
}
