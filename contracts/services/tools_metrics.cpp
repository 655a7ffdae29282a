#include "contracts/services/tools_metrics.h"

#include <QtWidgets/QApplication>

#include "contracts/services/tallyline_context.h"

const char* const TOOLS_METRICS::ENDPOINT = "localhost";

namespace {

const int NO_TOOL_NUMBER = 0; // the name says which tool it is

QApplication* s_application = nullptr;

void send(const QString& name, const char* event)
{
    Tallyline::Context context(TOOLS_METRICS::ENDPOINT, TOOLS_METRICS::PORT, name.toLocal8Bit(),
                               NO_TOOL_NUMBER);
    const Tallyline::Context::PACKET packet = context.AllocatePacket();
    context.AddField(packet, event, "1");
    if (s_application)
        context.AddField(packet, "Version", s_application->applicationVersion().toLocal8Bit());
    context.Send(packet);
}

} // namespace

void TOOLS_METRICS::set_application(QApplication& application)
{
    s_application = &application;
}

void TOOLS_METRICS::tool_started(const QString& name)
{
    send(name, "ToolStarted");
}

void TOOLS_METRICS::tool_finished(const QString& name)
{
    send(name, "ToolFinished");
}
