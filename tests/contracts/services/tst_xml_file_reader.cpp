#include <QtTest/QTest>

#include "contracts/services/xml_file_reader.h"
#include "tests/support/cases.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

void read_children(XML_FILE_READER& xml, const QString& level, QStringList& lines)
{
    while (xml.next_child()) {
        const QString element = xml.name().toString();
        if (element == "list") {
            lines.append(level + element);
            read_children(xml, level + '.', lines);
        } else if (element == "skip") {
            xml.skip();
        } else if (element == "flag") {
            bool flag = false;
            lines.append(level + (!xml.boolean(flag) ? "flag -" : flag ? "flag true" : "flag false"));
        } else {
            lines.append(level + element + ' ' + xml.attribute("n"));
            lines.last() += '"' + xml.text() + '"';
        }
    }
}

// What a reader finds that was opened with this result.
QString read_from(XML_FILE_READER& xml, bool is_open)
{
    QStringList lines;
    if (is_open && xml.check_version(2) && xml.allow_attributes({"version"})) {
        lines.append(("list " + xml.attribute("version").trimmed()).trimmed());
        read_children(xml, QString(), lines);
    }
    if (!xml.finish())
        lines.append(xml.error());
    return lines.join('\n');
}

} // namespace

class TST_XML_FILE_READER : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void reads_data()
    {
        add_cases("contracts/services/xml_file_reader.cases", {"text", "path", "limit", "read"});
    }
    void reads()
    {
        const TEST_CASE one = current_case();
        const TEMPORARY_TREE tree;
        const QString path = one.has("path") ? QDir(tree.path()).filePath(one["path"]) : tree.path("a.xml");
        const qint64 limit = one.has("limit") ? one["limit"].toLongLong() : XML_FILE_READER::MAX_BYTES;
        const QByteArray text = spelled_bytes(one["text"]);
        const QString expected = one["read"].replace("FILE", path);
        if (!one.has("path"))
            FILES::write(path, text);
        XML_FILE_READER file(path, limit);
        QByteArray copy;
        GOX_COMPARE_TEXT(read_from(file, file.open("list", &copy)), expected);
        if (one.has("path") || one.has("limit"))
            return;
        QVERIFY(file.failed() ? text.startsWith(copy) : copy == text);
        XML_FILE_READER memory(path, limit);
        GOX_COMPARE_TEXT(read_from(memory, memory.open(text, "list")), expected);
    }
};

QTEST_GUILESS_MAIN(TST_XML_FILE_READER)
#include "tst_xml_file_reader.moc"
