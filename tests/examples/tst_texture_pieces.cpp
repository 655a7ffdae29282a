#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>
#include <QtTest/QtTest>

#include "examples/plugins/textures/mip_chain.h"
#include "examples/plugins/textures/picture_reader.h"
#include "examples/plugins/textures/texture_file.h"
#include "examples/plugins/textures/tga_reader.h"
#include "tests/support/files.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

namespace {

const char UNCOMPRESSED = 2;
const char RLE = 10;
const char TOP_LEFT = 0x20;

QByteArray tga_header(char type, int width, int height, char bits, char descriptor)
{
    QByteArray header(18, '\0');
    header[2] = type;
    qToLittleEndian(quint16(width), header.data() + 12);
    qToLittleEndian(quint16(height), header.data() + 14);
    header[16] = bits;
    header[17] = descriptor;
    return header;
}

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

QByteArray with_byte(QByteArray data, int position, char value)
{
    data[position] = value;
    return data;
}

// Rows from the top, pixels as aarrggbb.
QString pixels_of(const QImage& image)
{
    QStringList rows;
    for (int y = 0; y < image.height(); ++y) {
        QStringList row;
        for (int x = 0; x < image.width(); ++x)
            row << QString::number(image.pixel(x, y), 16);
        rows << row.join(' ');
    }
    return rows.join('/');
}

} // namespace

using TGA_PIXELS = ROWS<QByteArray, QString>;          // data, pixels
using TGA_ERRORS = ROWS<QByteArray, QString>;          // data, error
using UNREADABLE = ROWS<QString, QByteArray, QString>; // name, data, error
using CHAINS = ROWS<QSize, int, bool, QString>;        // picture, maximum, mip_maps, levels

class tst_texture_pieces : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void tga_pixels_data()
    {
        const TGA_PIXELS row;
        const QByteArray four = hex("010203 040506 070809 0a0b0c");
        row("from the bottom", tga_header(UNCOMPRESSED, 2, 2, 24, 0) + four,
            "ff090807 ff0c0b0a/ff030201 ff060504");
        row("from the top", tga_header(UNCOMPRESSED, 2, 2, 24, TOP_LEFT) + four,
            "ff030201 ff060504/ff090807 ff0c0b0a");
        row("from the right", tga_header(UNCOMPRESSED, 2, 2, 24, TOP_LEFT | 0x10) + four,
            "ff060504 ff030201/ff0c0b0a ff090807");
        row("alpha", tga_header(UNCOMPRESSED, 1, 1, 32, TOP_LEFT | 8) + hex("01020380"), "80030201");
        row("fourth byte without meaning", tga_header(UNCOMPRESSED, 1, 1, 32, TOP_LEFT) + hex("01020300"),
            "ff030201");
        row("runs and single pixels, across rows",
            tga_header(RLE, 2, 2, 24, TOP_LEFT) + hex("82 010203 00 040506"),
            "ff030201 ff030201/ff030201 ff060504");
        const QByteArray with_id = with_byte(tga_header(UNCOMPRESSED, 1, 1, 24, TOP_LEFT), 0, 3);
        row("name in front", with_id + "abc" + hex("010203"), "ff030201");
        const QByteArray with_map = with_byte(with_byte(with_byte(with_id, 1, 1), 5, 2), 7, 15);
        row("name and unused colour map in front", with_map + "abc" + "mapp" + hex("010203"), "ff030201");
        row("footer behind", tga_header(UNCOMPRESSED, 1, 1, 24, TOP_LEFT) + hex("010203") + "TRUEVISION",
            "ff030201");
    }
    void tga_pixels()
    {
        const auto [data, pixels] = TGA_PIXELS::values();
        QString error;
        const QImage image = read_tga(data, error);
        QCOMPARE(error, QString());
        QCOMPARE(pixels_of(image), pixels);
    }

    void tga_errors_data()
    {
        const TGA_ERRORS row;
        const QByteArray good = tga_header(UNCOMPRESSED, 2, 2, 24, 0);
        row("empty", QByteArray(), "the file has 0 bytes and its header alone needs 18");
        row("no picture", with_byte(good, 2, 0), "the header says that there is no picture in it");
        row("colour map", with_byte(good, 2, 9),
            "colour-mapped pictures can't be read; save it as true colour");
        row("no TGA", QByteArray("\x89PNG\r\n\x1a\n and so on and so on"),
            "the header names the unknown picture type 78");
        row("16 bits", with_byte(good, 16, 16), "a pixel has 16 bits; 24 or 32 can be read");
        row("no pixels", tga_header(RLE, 0, 5, 24, 0), "it has no pixels (0 x 5)");
        row("too large", tga_header(RLE, 16384, 16384, 24, 0),
            "16384 x 16384 pixels are too many (a side has at most 16384, the picture 67108864)");
        row("cut off", good + QByteArray(11, 'x'),
            "the file is cut off: 2 x 2 pixels need at least 30 bytes, it has 29");
        row("name beyond the end", with_byte(good, 0, char(200)) + QByteArray(12, 'x'),
            "the file is cut off: 2 x 2 pixels need at least 230 bytes, it has 30");
        row("few bytes claim much memory", tga_header(RLE, 8192, 8192, 32, 0) + hex("ff01020304"),
            "the file is cut off: 8192 x 8192 pixels need at least 2621458 bytes, it has 23");
        row("run of too many", tga_header(RLE, 2, 2, 24, 0) + hex("84 010203"),
            "the last run of pixels reaches beyond the picture");
    }
    void tga_errors()
    {
        const auto [data, expected] = TGA_ERRORS::values();
        QString error;
        QVERIFY(read_tga(data, error).isNull());
        QCOMPARE(error, expected);
    }

    // Whatever is broken, the answer is a picture or a reason; the sanitizers see
    // to the rest.
    void tga_survives_damage()
    {
        QByteArray whole = tga_header(RLE, 7, 5, 32, 8);
        for (int i = 0; i < 12; ++i)
            whole += hex("82 01020304") + hex("01 05060708 090a0b0c");
        quint32 random = 12345;
        for (int round = 0; round < 20000; ++round) {
            QByteArray data = whole;
            for (int i = 0; i < 3; ++i) {
                random = random * 1664525 + 1013904223;
                data[int(random >> 8) % (i == 0 ? 18 : data.size())] = char(random >> 24);
            }
            data.truncate(int(random >> 4) % data.size() + 1);
            QString error;
            const bool is_null = read_tga(data, error).isNull();
            QCOMPARE(is_null, !error.isEmpty());
        }
    }

    void pictures_that_can_not_be_read_data()
    {
        const UNREADABLE row;
        const QByteArray start = hex("89504e470d0a1a0a 0000000d 49484452");
        row("missing", "none.png", QByteArray(), "it can't be opened: No such file or directory");
        row("empty", "a.png", QByteArray(""), "it is empty");
        row("no PNG", "a.png", QByteArray("GIF89a"), "it is no PNG picture");
        row("much too large", "a.png",
            QByteArray(start + hex("00010000 00010000 08 06 000000 6c8430e3 00000000 49444154")),
            "65536 x 65536 pixels are too many");
        row("TGA by name", "a.TGA", QByteArray("GIF89a"), "the file has 6 bytes");
    }
    void pictures_that_can_not_be_read()
    {
        const auto [name, data, error] = UNREADABLE::values();
        QTemporaryDir folder;
        const QString path = folder.filePath(name);
        if (!data.isNull())
            FILES::write(path, data);
        QString reason;
        QVERIFY(read_picture(path, reason).isNull());
        QVERIFY2(reason.startsWith(path + ": " + error), qPrintable(reason));
    }

    void chain_data()
    {
        const CHAINS row;
        row("square", QSize(4, 4), 4, true, "4x4 2x2 1x1");
        row("one level", QSize(4, 4), 4, false, "4x4");
        row("halved until it fits", QSize(256, 64), 100, false, "64x16");
        row("odd sides", QSize(48, 7), 64, true, "48x7 24x3 12x1 6x1 3x1 1x1");
        row("a line", QSize(1, 8), 1, true, "1x1");
        row("a pixel", QSize(1, 1), 64, true, "1x1");
    }
    void chain()
    {
        const auto [picture, maximum, mip_maps, expected] = CHAINS::values();
        const MIP_CHAIN chain = mip_chain(picture, maximum, mip_maps);
        QStringList levels;
        for (const QSize& size : chain.levels)
            levels << QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
        QCOMPARE(levels.join(' '), expected);
    }

    void halving_weighs_by_alpha()
    {
        QImage image(3, 2, QImage::Format_ARGB32); // the odd column is dropped
        image.fill(qRgba(9, 9, 9, 255));
        image.setPixel(0, 0, qRgba(200, 100, 0, 255));
        image.setPixel(1, 0, qRgba(100, 200, 0, 255));
        image.setPixel(0, 1, qRgba(0, 0, 255, 0)); // invisible: its blue must not show
        image.setPixel(1, 1, qRgba(0, 0, 255, 0));
        int progress = 0;
        const std::atomic<bool> stop{false};
        ROW_COUNTER rows(1, progress, 100, stop);
        QCOMPARE(pixels_of(half_image(image, rows)), QStringLiteral("80969600"));
        QCOMPARE(progress, 100);
    }

    void halving_stops()
    {
        int progress = 0;
        const std::atomic<bool> stop{true};
        ROW_COUNTER rows(8, progress, 100, stop);
        QVERIFY(half_image(QImage(16, 16, QImage::Format_RGB32), rows).isNull());
        QCOMPARE(progress, 12); // one row of eight, and no further one
    }

    void texture_bytes()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("a.tex"));
        QImage image(2, 1, QImage::Format_ARGB32);
        image.setPixel(0, 0, qRgba(255, 0, 0, 255));
        image.setPixel(1, 0, qRgba(0, 255, 255, 0));
        TEXTURE_FILE texture(path, TEXTURE_FORMAT::RGB565);
        QVERIFY(texture.open({QSize(2, 1), QSize(1, 1)}));
        QVERIFY(texture.write_row(image, 0) && texture.write_row(image.copy(0, 0, 1, 1), 0) &&
                texture.commit());

        QCOMPARE(FILES::bytes(path).toHex(' '),
                 QByteArray("47 54 45 58 01 00 02 00 02 00 00 00 01 00 00 00 02 00 00 00 00 00 "
                            "00 00 06 00 00 00 00 00 00 00 00 f8 ff 07 00 f8"));
    }

    void texture_is_written_whole_or_not_at_all()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("a.tex"));
        FILES::write(path, "former");
        {
            TEXTURE_FILE given_up(path, TEXTURE_FORMAT::GREY8);
            QVERIFY(given_up.open({QSize(1, 1)}));
        }
        QCOMPARE(FILES::bytes(path), QByteArray("former"));
        QCOMPARE(FILES::below(folder.path()), QStringList{QStringLiteral("a.tex")});

        TEXTURE_FILE nowhere(folder.filePath(QStringLiteral("none/a.tex")), TEXTURE_FORMAT::GREY8);
        QVERIFY(!nowhere.open({QSize(1, 1)}));
        QVERIFY2(nowhere.error().contains(QStringLiteral("none/a.tex: can't be written: ")),
                 qPrintable(nowhere.error()));
    }
};

QTEST_GUILESS_MAIN(tst_texture_pieces)
#include "tst_texture_pieces.moc"
