#pragma once

#include <QtCore/QString>

#include "contracts/export.h"

namespace FW {

/// Text of the base library: 16-bit characters with their count.
class UniString
{
public:
    explicit UniString(const QString& text) : m_text(text) {}

    int length() const { return m_text.size(); }

    /// The characters, valid as long as this object; a 0 follows the last.
    const ushort* get_temporary_uni_chars() const { return m_text.utf16(); }

private:
    QString m_text;
};

/// Sees every message box that the base library wants to raise.
/// `is_assertion`: the box tells of an assertion that does not hold.
/// `show_box` comes in true; a hook clears it to say that the text has been
/// taken care of. `break_in_debugger` comes in false; set, the raising thread
/// stops in a debugger. The result is false when the run is to stay quiet
/// about the text altogether.
using MESSAGE_BOX_HOOK = bool (*)(bool is_assertion, const UniString& text, bool& show_box,
                                  bool& break_in_debugger);

/// Null, the start value, means no hook. Set on the main thread before and
/// after start-up, and by the build thread for the length of a build.
extern GOX_CONTRACTS_EXPORT MESSAGE_BOX_HOOK fw_message_box_hook;

/// Raises a message box, as plugins do for an assertion that does not hold. A
/// hook gets the text in place of the box; its result says whether the text
/// also goes to standard error. Without a hook, a box is shown on the main
/// thread, and any other thread writes the text to standard error. Any thread.
GOX_CONTRACTS_EXPORT void raise_message_box(const QString& text, bool is_assertion = true);

} // namespace FW
