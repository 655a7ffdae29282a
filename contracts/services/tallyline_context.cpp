#include "contracts/services/tallyline_context.h"

#include <QtNetwork/QHostAddress>
#include <QtNetwork/QUdpSocket>

namespace Tallyline {

struct PACKET_DATA
{
    QByteArray fields;
};

namespace {

QByteArray escaped(const QByteArray& name)
{
    QByteArray result;
    for (const char c : name) {
        if (c == ',' || c == '=' || c == ' ')
            result += '\\';
        result += c;
    }
    return result;
}

QByteArray formatted(const QByteArray& value)
{
    bool is_integer = false;
    value.toLongLong(&is_integer);
    if (is_integer)
        return value + 'i';
    QByteArray text = value;
    text.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + text + '"';
}

} // namespace

Context::Context(const char* server, int port, const char* tool, int number)
    : m_server(server), m_port(port), m_head(escaped(tool) + ",number=" + QByteArray::number(number))
{
}

Context::~Context() = default;

Context::PACKET Context::AllocatePacket()
{
    return new PACKET_DATA;
}

void Context::AddField(PACKET packet, const char* key, const char* value)
{
    if (!packet)
        return;
    if (!packet->fields.isEmpty())
        packet->fields += ',';
    packet->fields += escaped(key) + '=' + formatted(value);
}

void Context::Send(PACKET packet)
{
    if (!packet)
        return;
    QHostAddress address;
    if (m_server == "localhost")
        address = QHostAddress(QHostAddress::LocalHost);
    else
        address.setAddress(QString::fromLatin1(m_server));
    if (!packet->fields.isEmpty() && !address.isNull())
        QUdpSocket().writeDatagram(m_head + ' ' + packet->fields + '\n', address, quint16(m_port));
    delete packet;
}

} // namespace Tallyline
