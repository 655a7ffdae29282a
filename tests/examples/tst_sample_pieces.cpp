#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

#include "examples/plugins/packs/pack_file.h"
#include "examples/plugins/textures/mip_chain.h"
#include "examples/plugins/textures/picture_reader.h"
#include "examples/plugins/textures/texture_file.h"
#include "examples/plugins/textures/tga_reader.h"
#include "tests/support/cases.h"
#include "tests/support/full_disk.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

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

class TST_SAMPLE_PIECES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void pictures_data() { add_cases("examples/pictures.cases", {"file", "hex", "read"}); }
    void pictures()
    {
        const TEST_CASE one = current_case();
        const TEMPORARY_TREE tree;
        const QByteArray bytes = QByteArray::fromHex(spelled_bytes(one["hex"]));
        if (one.has("hex") && one.has("file"))
            tree.write(one["file"], bytes);
        QString error;
        const QImage image =
            one.has("file") ? read_picture(tree.path(one["file"]), error) : read_tga(bytes, error);
        const QString read = error.isEmpty() ? pixels_of(image) : image.isNull() ? '!' + error : "both";
        GOX_COMPARE_TEXT(read, one["read"].replace("FILE", tree.path(one["file"])));
    }

    // Whatever is broken, the answer is a picture or a reason; the sanitizers see
    // to the rest.
    void tga_survives_damage()
    {
        const QByteArray whole = QByteArray::fromHex(spelled_bytes(
            "00000a 0000000000 00000000 0700 0500 20 08 {12 x 82 01020304 01 05060708 090a0b0c}"));
        QRandomGenerator random(12345);
        for (int round = 0; round < 20000; ++round) {
            QByteArray data = whole.left(1 + random.bounded(whole.size()));
            for (const int end : {18, whole.size(), whole.size()})
                data[random.bounded(qMin(end, data.size()))] = char(random.bounded(256));
            QString error;
            const bool is_null = read_tga(data, error).isNull();
            QCOMPARE(is_null, !error.isEmpty());
        }
    }

    void chain_data() { add_cases("examples/mip_chain.cases", {"picture", "maximum", "plain", "chain"}); }
    void chain()
    {
        const TEST_CASE one = current_case();
        const QSize picture(one["picture"].section('x', 0, 0).toInt(),
                            one["picture"].section('x', 1).toInt());
        const MIP_CHAIN chain = mip_chain(picture, one["maximum"].toInt(), !one.has("plain"));
        QStringList levels;
        for (const QSize& size : chain.levels)
            levels << QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
        QCOMPARE(levels.join(' ') + QString(", %1 rows").arg(chain.rows(picture)), one["chain"]);
    }

    void halving()
    {
        QImage image(3, 2, QImage::Format_ARGB32); // the odd column is dropped
        image.fill(qRgba(9, 9, 9, 255));
        image.setPixel(0, 0, qRgba(200, 100, 0, 255));
        image.setPixel(1, 0, qRgba(100, 200, 0, 255));
        image.setPixel(0, 1, qRgba(0, 0, 255, 0)); // invisible: its blue must not show
        image.setPixel(1, 1, qRgba(0, 0, 255, 0));
        int progress = 0;
        std::atomic<bool> stop{false};
        ROW_COUNTER rows(1, progress, 100, stop);
        QCOMPARE(pixels_of(half_image(image, rows)), QString("80969600"));
        QCOMPARE(progress, 100);
        stop = true;
        ROW_COUNTER stopped_rows(8, progress, 100, stop);
        QVERIFY(half_image(QImage(16, 16, QImage::Format_RGB32), stopped_rows).isNull());
        QCOMPARE(progress, 12); // one row of eight, and no further one
    }

    void texture_is_written_whole_or_not_at_all()
    {
        const TEMPORARY_TREE tree;
        QImage image(2, 1, QImage::Format_ARGB32);
        image.setPixel(0, 0, qRgba(255, 0, 0, 255));
        image.setPixel(1, 0, qRgba(0, 255, 255, 0));
        // Version, format, width, height and levels; the size of the pixels, and these.
        const QString head = "47544558 0100 0%1 00 02000000 01000000 02000000 00000000 ";
        for (const QString pixels : {"0c00000000000000 ff0000ff 00ffff00 ff0000ff",
                                     "0600000000000000 00f8 ff07 00f8", "0300000000000000 57 a7 57"}) {
            const int format = pixels.startsWith("0c") ? 1 : pixels.startsWith("06") ? 2 : 3;
            const QByteArray before = tree.read("a.tex");
            TEXTURE_FILE texture(tree.path("a.tex"), TEXTURE_FORMAT(format));
            QVERIFY(texture.open({QSize(2, 1), QSize(1, 1)}));
            QVERIFY(texture.write_row(image, 0) && texture.write_row(image.copy(0, 0, 1, 1), 0));
            QCOMPARE(tree.read("a.tex"), before);
            QVERIFY(texture.commit());
            QCOMPARE(tree.read("a.tex"), QByteArray::fromHex((head.arg(format) + pixels).toLatin1()));
        }
        TEXTURE_FILE nowhere(tree.path("none/a.tex"), TEXTURE_FORMAT::GREY8);
        QVERIFY(!nowhere.open({QSize(1, 1)}));
        QVERIFY(nowhere.error().startsWith(tree.path("none/a.tex: can't be written: ")));
    }

    void packs_data() { add_cases("examples/packs.cases", {"member", "from", "in the way", "error"}); }
    void packs()
    {
        const TEST_CASE one = current_case();
        const QString in_the_way = one["in the way"];
        const TEMPORARY_TREE tree;
        int progress = 0;
        const std::atomic<bool> stop{in_the_way == "stop"};
        tree.write("a.zip", "former");
        const PACK_MEMBER member{one["member"], one["from"].replace("TREE", tree.path()),
                                 QByteArray(1000, 'x')};
        const QString error = one["error"].replace("TREE", tree.path());
        if (in_the_way == "lock")
            tree.set_permissions("a.zip", 0444);
        QString told;
        {
            const FULL_DISK disk(in_the_way == "disk");
            told = write_pack(tree.path("a.zip"), {{"old", QString(), "old"}, member}, {progress, 50, stop});
        }
        QVERIFY2(in_words_of_unix(told).contains(error), qPrintable(told));
        QCOMPARE(told.isEmpty(), error.isEmpty());
        QVERIFY(tree.read("a.zip").startsWith(error.isEmpty() ? "PK" : "former"));
        QCOMPARE(FILES::below(tree.path()), QStringList("a.zip"));
        QVERIFY(progress == 50 || !told.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TST_SAMPLE_PIECES)
#include "tst_sample_pieces.moc"
