#pragma once

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <functional>
#include <type_traits>

/// A conversation with what is tested, as a case file has it: a line with "> " in
/// front is a command, and the lines behind it are what comes of it.
///
///     > save
///     raw_data/rules.gox: not saved, it is read-only
///     > ask <raw>/a.png
///     none
///
/// A last line "..." stands for whatever else is seen.
class TRANSCRIPT
{
public:
    TRANSCRIPT() = default;
    virtual ~TRANSCRIPT() = default;

    /// A word that commands begin with, and what it does with the rest of the
    /// command; what that gives, if anything, is told.
    template <typename DOES>
    void add(const char* word, const DOES& does)
    {
        m_words[word] = [does](const QString& rest) {
            if constexpr (std::is_void_v<decltype(does(rest))>)
                return does(rest), QString();
            else
                return QString(does(rest));
        };
    }

    /// What the command tells. A word that nobody knows ends the test program.
    virtual QString carry_out(const QString& command);

    /// Carries out the commands of `wanted` and gives the conversation as it went, up
    /// to the first answer that is another one. Where there is something to be seen,
    /// it has a while to come about: threads and processes may have a part in it.
    QString play(const QString& wanted);

protected:
    /// The steps of a line, in their order.
    virtual QStringList steps_of(const QString& line) const { return {line}; }
    /// A last change to what a command tells.
    virtual QString told(QString said) { return said; }
    /// What there is to be seen, a line a thing; an answer has the lines that are new.
    virtual QStringList seen() { return {}; }

    /// Goes on with the steps while `may` says so, as from the loop of a dialog that a
    /// step has opened.
    void play_on(const std::function<bool()>& may);
    void tell(const QString& text);                             ///< behind the line at hand
    void note(const QString& event) { m_events.append(event); } ///< what happens by itself: "~ one, other"
    void look();                                                ///< tells what is noted and seen anew

private:
    Q_DISABLE_COPY(TRANSCRIPT)

    QStringList news(const QStringList& now) const;
    bool finish_line();

    QMap<QString, std::function<QString(const QString&)>> m_words;
    QStringList m_steps; // still to be done, each line with its answer in front of its steps
    QStringList m_played;
    QStringList m_told; // of the line at hand
    QStringList m_events;
    QStringList m_expected;
    QStringList m_seen;
};
