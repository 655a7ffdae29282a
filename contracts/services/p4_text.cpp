#include "contracts/services/p4_text.h"

#ifdef Q_OS_WIN
#include <windows.h>

namespace {

// That of the machine. The program's own may be UTF-8, which the client does not know.
UINT code_page()
{
    DWORD result = CP_ACP;
    GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<wchar_t*>(&result), sizeof result / sizeof(wchar_t));
    return result;
}

} // namespace

QString P4_TEXT::decode(const QByteArray& bytes)
{
    QString text(bytes.size(), Qt::Uninitialized); // no code page needs more units than bytes
    const int size = MultiByteToWideChar(code_page(), 0, bytes.constData(), bytes.size(),
                                         reinterpret_cast<wchar_t*>(text.data()), text.size());
    text.truncate(size);
    return text;
}

QByteArray P4_TEXT::encode(const QString& text)
{
    const int most = 4; // bytes of a unit
    QByteArray bytes(most * text.size(), Qt::Uninitialized);
    const int size = WideCharToMultiByte(code_page(), 0, reinterpret_cast<const wchar_t*>(text.utf16()),
                                         text.size(), bytes.data(), bytes.size(), nullptr, nullptr);
    bytes.truncate(size);
    return bytes;
}

#else

QString P4_TEXT::decode(const QByteArray& bytes)
{
    return QString::fromLocal8Bit(bytes);
}

QByteArray P4_TEXT::encode(const QString& text)
{
    return text.toLocal8Bit();
}

#endif
