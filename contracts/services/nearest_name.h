#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include "contracts/export.h"

/// The one of `known` that somebody meant who wrote `name`: the fewest letters are
/// to be put in, left out, replaced or swapped with their neighbour, case aside, and
/// of two that are as near the first. A name that was cut short counts as near. Empty
/// when none is near enough, that is when more than a third of the letters differ.
/// Any thread.
GOX_CONTRACTS_EXPORT QString nearest_name(const QString& name, const QStringList& known);

/// "; did you mean <name>?" with the nearest name between `before` and `after`, to
/// stand behind what is told of `name`; empty when none is near enough. Any thread.
GOX_CONTRACTS_EXPORT QString suggestion_for(const QString& name, const QStringList& known,
                                            const QString& before, const QString& after = QString());
