#include "textures/mip_chain.h"

#include <algorithm>

namespace {

QRgb average(const QRgb (&pixels)[4])
{
    int red = 0;
    int green = 0;
    int blue = 0;
    int alpha = 0;
    for (const QRgb pixel : pixels) {
        red += qRed(pixel) * qAlpha(pixel);
        green += qGreen(pixel) * qAlpha(pixel);
        blue += qBlue(pixel) * qAlpha(pixel);
        alpha += qAlpha(pixel);
    }
    if (alpha == 0)
        return 0;
    const int half = alpha / 2;
    return qRgba((red + half) / alpha, (green + half) / alpha, (blue + half) / alpha, (alpha + 2) / 4);
}

} // namespace

qint64 MIP_CHAIN::rows(const QSize& picture) const
{
    qint64 count = 0;
    QSize size = picture;
    for (int i = 0; i < halvings; ++i) {
        size = half_size(size);
        count += size.height();
    }
    for (int i = 0; i < levels.size(); ++i)
        count += levels.at(i).height() * (i == 0 ? 1 : 2); // computed, apart from the first, and written
    return count;
}

QSize half_size(const QSize& size)
{
    return QSize(std::max(1, size.width() / 2), std::max(1, size.height() / 2));
}

MIP_CHAIN mip_chain(const QSize& picture, int maximum_size, bool mip_maps)
{
    MIP_CHAIN chain;
    const int limit = std::max(1, maximum_size);
    QSize size = picture;
    for (; std::max(size.width(), size.height()) > limit; ++chain.halvings)
        size = half_size(size);
    chain.levels.append(size);
    while (mip_maps && size != QSize(1, 1)) {
        size = half_size(size);
        chain.levels.append(size);
    }
    return chain;
}

bool has_power_of_two_sides(const QSize& size)
{
    const auto is_power = [](int side) { return side > 0 && (side & (side - 1)) == 0; };
    return is_power(size.width()) && is_power(size.height());
}

QImage half_image(const QImage& image, ROW_COUNTER& rows)
{
    const QSize size = half_size(image.size());
    QImage result(size, image.format());
    if (result.isNull())
        return {};
    for (int y = 0; y < size.height(); ++y) {
        const QRgb* const upper = reinterpret_cast<const QRgb*>(image.constScanLine(2 * y));
        const QRgb* const lower =
            reinterpret_cast<const QRgb*>(image.constScanLine(std::min(2 * y + 1, image.height() - 1)));
        QRgb* const out = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int left = 2 * x;
            const int right = std::min(left + 1, image.width() - 1);
            out[x] = average({upper[left], upper[right], lower[left], lower[right]});
        }
        if (!rows.row_done())
            return {};
    }
    return result;
}
