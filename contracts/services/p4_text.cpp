#include "contracts/services/p4_text.h"

#include <QtCore/QTextCodec>

namespace {

// The program's own texts are UTF-8, which must not change what the client is told.
const QTextCodec& codec()
{
#ifdef Q_OS_WIN
    return *QTextCodec::codecForName("System");
#else
    return *QTextCodec::codecForLocale();
#endif
}

} // namespace

QString P4_TEXT::decode(const QByteArray& bytes)
{
    return codec().toUnicode(bytes);
}

QByteArray P4_TEXT::encode(const QString& text)
{
    return codec().fromUnicode(text);
}
