#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// The bytes that a case file spells: `\xc3` is a byte, `\n` and `\r` end a line, `\\`
/// is a backslash, `{3 x <a%/>}` stands for `<a0/><a1/><a2/>`, and "%+" in it for the
/// number behind.
QByteArray spelled_bytes(const QString& text);
