#pragma once

#include <QtCore/QByteArray>

#include "contracts/export.h"

namespace Tallyline {

struct PACKET_DATA;

/// A client of the metrics server: one UDP datagram a packet, in the Influx line
/// protocol. Nothing waits and nothing fails; an unreachable server costs
/// nothing. One thread.
///
/// A packet reads `<tool>,number=<number> <key>=<value>,...`. A value that is
/// a decimal integer is sent as one, any other as a string.
class GOX_CONTRACTS_EXPORT Context
{
public:
    /// `server`: "localhost" or a numeric address (a name would have to be
    /// looked up, and that may wait); packets to anything else are dropped.
    Context(const char* server, int port, const char* tool, int number);
    ~Context();

    using PACKET = PACKET_DATA*; ///< opaque

    PACKET AllocatePacket(); ///< a new empty packet, for Send to take over
    void AddField(PACKET packet, const char* key, const char* value);
    void Send(PACKET packet); ///< sends and frees it; an empty packet is only freed

private:
    Q_DISABLE_COPY(Context)

    QByteArray m_server;
    int m_port;
    QByteArray m_head; // measurement and tags
};

} // namespace Tallyline
