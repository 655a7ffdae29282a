#include "contracts/services/fw_message_box.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>
#include <QtWidgets/QApplication>

#include <csignal>
#include <cstdio>

#include "contracts/services/plain_message_box.h"

FW::MESSAGE_BOX_HOOK FW::fw_message_box_hook = nullptr;

namespace {

void write_to_standard_error(const QString& text)
{
    const QByteArray line = text.toLocal8Bit() + '\n';
    std::fwrite(line.constData(), 1, std::size_t(line.size()), stderr);
    std::fflush(stderr);
}

bool can_show_boxes()
{
    QApplication* const application = qobject_cast<QApplication*>(QCoreApplication::instance());
    return application && QThread::currentThread() == application->thread();
}

} // namespace

void FW::raise_message_box(const QString& text, bool is_assertion)
{
    bool show_box = true;
    bool break_in_debugger = false;
    // Read once: the build thread takes the hook away at its end.
    if (const MESSAGE_BOX_HOOK hook = fw_message_box_hook) {
        const bool tell = hook(is_assertion, UniString(text), show_box, break_in_debugger);
        if (tell && !show_box)
            write_to_standard_error(text);
        if (!tell)
            show_box = false;
    }
    if (show_box) {
        if (can_show_boxes())
            show_plain_box(QMessageBox::Critical, nullptr, text);
        else
            write_to_standard_error(text);
    }
#ifdef SIGTRAP
    if (break_in_debugger)
        std::raise(SIGTRAP);
#endif
}
