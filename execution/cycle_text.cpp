#include "execution/cycle_text.h"

#include <QtCore/QStringList>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"

namespace {

const int MOST_NAMES = 8;
const int NAMES_AT_END = 2; // the step that closes the circle is as likely the wrong one

} // namespace

QString cycle_text(const QVector<ACTION_INTERFACE*>& cycle)
{
    QStringList names;
    for (int i = 0; i < cycle.size(); ++i) {
        const int left_out = cycle.size() - MOST_NAMES;
        if (left_out > 1 && i == MOST_NAMES - NAMES_AT_END) {
            names.append(QStringLiteral("(%1 more)").arg(left_out));
            i += left_out;
        }
        names.append(cycle[i]->processor->name() + " / " + cycle[i]->display_text(true));
    }
    names.append(names.value(0));
    return "These actions wait for each other: " + names.join(QStringLiteral(" -> "));
}
