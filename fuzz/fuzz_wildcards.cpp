#include <QtCore/QStringList>

#include "contracts/paths/paths.h"
#include "contracts/rules/file_filter_list.h"
#include "fuzz/fuzz_target.h"

namespace {

const uint STAR = 0x110000; // behind all characters
const uint DOTS = 0x110001;
const qint64 MOST_STEPS = 1 << 18; // of the plain way, for one input

QVector<uint> tokens_of(const QString& pattern)
{
    QVector<uint> tokens;
    const QVector<uint> letters = pattern.toUcs4();
    for (int i = 0; i < letters.size(); ++i) {
        const bool is_dots =
            i + 2 < letters.size() && letters[i] == '.' && letters[i + 1] == '.' && letters[i + 2] == '.';
        tokens.append(is_dots ? DOTS : letters[i] == '*' ? STAR : letters[i]);
        i += is_dots ? 2 : 0;
    }
    return tokens;
}

// The plain way: `reached[i]` is whether the first i characters are met by the
// tokens so far.
bool matches_plainly(const QVector<uint>& tokens, const QVector<uint>& path)
{
    QVector<bool> reached(path.size() + 1, false);
    reached[0] = true;
    for (const uint token : tokens) {
        const bool is_wild = token == STAR || token == DOTS;
        QVector<bool> next(path.size() + 1, false);
        next[0] = is_wild && reached[0];
        for (int i = 1; i <= path.size(); ++i) {
            const uint letter = path[i - 1];
            if (is_wild)
                next[i] = reached[i] || (next[i - 1] && (token == DOTS || letter != '/'));
            else
                next[i] = reached[i - 1] && (token == letter || token == '?');
        }
        reached = next;
    }
    return reached.last();
}

} // namespace

// The first line is a path, the others are patterns. Each of them alone answers
// as the plain way does.
void take_input(const QByteArray& input)
{
    const QStringList lines = QString::fromUtf8(input).split('\n');
    const QString path = lines.first();
    const QStringList patterns = lines.mid(1);
    FILE_FILTER_LIST(patterns).matching(path);
    FILE_FILTER_LIST::from_text(patterns.join(',')).matching(path);
    const QVector<uint> letters = lower_case_by_letter(path).toUcs4();
    qint64 steps = 0;
    for (const QString& pattern : patterns) {
        const QString trimmed = pattern.trimmed();
        const QVector<uint> tokens = tokens_of(lower_case_by_letter(trimmed));
        steps += qint64(tokens.size()) * (letters.size() + 1);
        if (trimmed.isEmpty() || trimmed.startsWith('-') || steps > MOST_STEPS)
            continue;
        require(FILE_FILTER_LIST(QStringList(trimmed)).matching(path) == matches_plainly(tokens, letters),
                QStringLiteral("\"%1\" answers wrongly for \"%2\"").arg(trimmed, path));
    }
}
