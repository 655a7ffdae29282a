#include "execution/reported_actions.h"

#include <QtCore/QHash>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "execution/action_reason.h"
#include "session/build_session.h"

namespace {

// A file does not know its logical path, so they are looked up for all targets at once.
class TARGET_NAMES
{
public:
    explicit TARGET_NAMES(const BUILD_SESSION::FILE_MAP& files) : m_files(files) {}

    void want(const ACTION_INTERFACE& action)
    {
        for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target)
            m_names.insert(target.key(), QString());
    }

    void look_up()
    {
        for (auto place = m_files.begin(); place != m_files.end(); ++place) {
            const auto wanted = m_names.find(place.value());
            if (wanted != m_names.end())
                *wanted = place.key();
        }
    }

    QStringList of(const ACTION_INTERFACE& action) const
    {
        QStringList names;
        for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target)
            names.append(m_names.value(target.key()));
        names.sort(); // the order of the map is that of addresses
        return names;
    }

private:
    const BUILD_SESSION::FILE_MAP& m_files;
    QHash<const FILE_ENTRY*, QString> m_names;
};

} // namespace

QVector<REPORTED_ACTION> reported_actions(const BUILD_SESSION& session, const PLAN_JUDGEMENT& judgement)
{
    TARGET_NAMES targets(session.file_map);
    for (const ACTION_INTERFACE* action : session.selected_actions)
        targets.want(*action);
    for (const UP_TO_DATE_ACTION& good : judgement.up_to_date)
        targets.want(*good.action);
    targets.look_up();

    QVector<REPORTED_ACTION> reported;
    reported.reserve(session.selected_actions.size() + judgement.up_to_date.size());
    const auto report = [&](ACTION_INTERFACE& action) -> REPORTED_ACTION& {
        REPORTED_ACTION one;
        one.processor = action.processor->name();
        one.name = action.display_text(true);
        one.short_name = action.display_text(false);
        one.state = action.state;
        one.targets = targets.of(action);
        one.explanation = judgement.explanations.value(&action);
        reported.append(one);
        return reported.last();
    };
    for (int i = 0; i < session.selected_actions.size(); ++i) {
        REPORTED_ACTION& one = report(*session.selected_actions.at(i));
        const ACTION_RESULT result = session.results.actions.value(i);
        one.duration = result.duration;
        one.output = result.output;
        one.said = result.said;
        if (one.state != ACTION_SUCCEEDED)
            one.reason = reason_of(one.output, one.state);
    }
    for (const UP_TO_DATE_ACTION& good : judgement.up_to_date) {
        REPORTED_ACTION& one = report(*good.action);
        one.is_up_to_date = true;
        one.reason = good.warning;
    }
    return reported;
}
