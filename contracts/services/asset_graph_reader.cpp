#include "contracts/services/asset_graph_reader.h"

#include <QtCore/QSet>

#include "contracts/services/xml_file_reader.h"

namespace QTSHARED {
namespace {

class AGF_READER
{
public:
    explicit AGF_READER(const QString& path) : m_xml(path, MAX_AGF_BYTES) {}

    QString read(QVector<AGF_ASSET>& assets)
    {
        if (m_xml.open("agf") && m_xml.check_version(AGF_VERSION) && m_xml.allow_attributes({"version"}))
            while (m_xml.next_child("agf", {"asset"}))
                read_asset();
        if (m_xml.finish())
            assets = m_assets;
        return m_xml.error();
    }

private:
    void read_asset()
    {
        AGF_ASSET asset;
        if (!read_name(asset.name))
            return;
        if (m_defined.contains(asset.name)) {
            m_xml.fail(QStringLiteral("asset \"%1\" is defined twice in this file").arg(asset.name));
            return;
        }
        m_defined.insert(asset.name);
        QSet<QString> known;
        while (m_xml.next_child("asset", {"uses"})) {
            QString used;
            if (!read_name(used) || m_xml.next_child("uses", {}))
                return;
            if (known.contains(used))
                continue;
            known.insert(used);
            asset.uses.append(used);
        }
        m_assets.append(asset);
    }

    // The element must have nothing but a name.
    bool read_name(QString& name)
    {
        if (!m_xml.allow_attributes({"name"}))
            return false;
        name = m_xml.attribute("name");
        if (name.isEmpty())
            return m_xml.fail(QStringLiteral("<%1> must have a name").arg(m_xml.name().toString()));
        if (name.size() > MAX_ASSET_NAME)
            return m_xml.fail(QStringLiteral("a name of more than %1 characters").arg(MAX_ASSET_NAME));
        return true;
    }

    XML_FILE_READER m_xml;
    QVector<AGF_ASSET> m_assets;
    QSet<QString> m_defined;
};

} // namespace

QString read_agf(const QString& path, QVector<AGF_ASSET>& assets)
{
    return AGF_READER(path).read(assets);
}

} // namespace QTSHARED
