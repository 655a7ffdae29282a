#include "contracts/services/p4_complaints.h"

#include <algorithm>
#include <iterator>

#include "contracts/services/p4_text.h"

namespace {

constexpr int MAX_LINE = 16 << 10; // bytes of a line that are looked at

struct KNOWN_COMPLAINT
{
    const char* words; // some of them
    const char* cause;
    const char* advice;
};

const char* const LOGIN = "Perforce does not accept the login of this user, or it has expired";
const char* const LOG_IN = "Run \"p4 login\" in a command window and try again.";
const char* const SERVER = "The Perforce server can't be reached, or the connection to it was lost";
const char* const REACH_SERVER = "Check the network and the server's address in P4PORT, and try again.";
const char* const WORKSPACE = "The Perforce workspace is not the one of this data tree";
const char* const SET_WORKSPACE = "Check P4CLIENT and P4CONFIG; \"p4 info\" shows what is in use.";
const char* const TRUST = "The Perforce server is not trusted";
const char* const GIVE_TRUST =
    "Compare its fingerprint with the administrator's and run \"p4 trust\" in a command window.";

const KNOWN_COMPLAINT KNOWN_COMPLAINTS[] = {
    {"session has expired", LOGIN, LOG_IN},
    {"session was logged out", LOGIN, LOG_IN},
    {"please login again", LOGIN, LOG_IN},
    {"(P4PASSWD) invalid or unset", LOGIN, LOG_IN},
    {"password must be set", LOGIN, LOG_IN},
    {"authenticity of", TRUST, GIVE_TRUST},
    {"p4 trust", TRUST, GIVE_TRUST},
    {"Connect to server failed", SERVER, REACH_SERVER},
    {"TCP connect to", SERVER, REACH_SERVER},
    {"TCP receive", SERVER, REACH_SERVER},
    {"TCP send", SERVER, REACH_SERVER},
    {"SSL connect to", SERVER, REACH_SERVER},
    {"SSL receive", SERVER, REACH_SERVER},
    {"SSL send", SERVER, REACH_SERVER},
    {"Partner exited unexpectedly", SERVER, REACH_SERVER},
    {"Connection reset", SERVER, REACH_SERVER},
    {"unknown - use 'client' command", WORKSPACE, SET_WORKSPACE},
    {"is not under client's root", WORKSPACE, SET_WORKSPACE},
    {"not in client view", WORKSPACE, SET_WORKSPACE},
};

const KNOWN_COMPLAINT* known_complaint_in(const QString& text)
{
    const auto* const known = std::find_if(
        std::begin(KNOWN_COMPLAINTS), std::end(KNOWN_COMPLAINTS),
        [&](const KNOWN_COMPLAINT& complaint) { return text.contains(QLatin1String(complaint.words)); });
    return known == std::end(KNOWN_COMPLAINTS) ? nullptr : known;
}

// Perforce says some refusals as if they were a success, as a remark on the
// file: "//depot/a - ignored file can't be added."
bool is_refusal(const QByteArray& remark)
{
    const int at = remark.lastIndexOf(" - "); // a name may hold anything
    return at >= 0 && (remark.indexOf("can't ", at) >= 0 || remark.indexOf("cannot ", at) >= 0);
}

} // namespace

void P4_COMPLAINTS::add(QByteArray bytes)
{
    bytes.replace("\r", ""); // of line ends on Windows
    const int to_beginning = qMin(bytes.size(), MAX_KEPT - m_beginning.size());
    m_beginning += bytes.left(to_beginning);
    m_end += bytes.mid(to_beginning);
    const int too_many = qMax(0, m_end.size() - MAX_KEPT);
    m_end.remove(0, too_many);
    m_left_out += too_many;

    for (int at = 0; at < bytes.size();) {
        const int line_end = bytes.indexOf('\n', at);
        const int end = line_end < 0 ? bytes.size() : line_end;
        m_line += bytes.mid(at, qMin(end - at, MAX_LINE - m_line.size()));
        if (line_end >= 0)
            take_line();
        at = end + 1;
    }
}

void P4_COMPLAINTS::finish()
{
    take_line();
}

void P4_COMPLAINTS::take_line()
{
    const QByteArray line = m_line.trimmed();
    m_line.clear();
    if (line.isEmpty())
        return;
    const bool is_no_file = line.contains("no such file(s)") || line.contains("file(s) not on client");
    (is_no_file ? m_has_no_files : m_has_more) = true;
    if (is_no_file || !m_failure.isEmpty())
        return;
    if (is_refusal(line) || known_complaint_in(P4_TEXT::decode(line)))
        m_failure = line;
}

QString P4_COMPLAINTS::text() const
{
    QByteArray text = m_beginning;
    if (m_left_out > 0) {
        text += "\n... " + QByteArray::number(m_left_out) + " bytes are left out here ...\n";
        if (!m_beginning.contains(m_failure) && !m_end.contains(m_failure))
            text += m_failure + '\n';
    }
    return P4_TEXT::decode(text + m_end).trimmed();
}

QString explain_p4_complaints(const QString& complaints)
{
    if (const KNOWN_COMPLAINT* const known = known_complaint_in(complaints))
        return QStringLiteral("%1: %2 %3")
            .arg(QLatin1String(known->cause), complaints, QLatin1String(known->advice));
    return QStringLiteral("Perforce: %1").arg(complaints);
}
