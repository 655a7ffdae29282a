#pragma once

#include <QtWidgets/QProxyStyle>

/// The style that the program finds, with what is too faint made readable, in light
/// palettes and in dark ones: the outlines of check boxes and radio buttons, and texts
/// that are disabled, have LEAST_CONTRAST at least. All else is as the style has it.
/// GUI thread.
class READABLE_STYLE : public QProxyStyle
{
    Q_OBJECT

public:
    /// `base`: key of the style, as of QStyleFactory.
    explicit READABLE_STYLE(const QString& base);

    using QProxyStyle::polish;
    void polish(QPalette& palette) override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};
