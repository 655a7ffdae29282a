#pragma once

#include <QtCore/QSet>
#include <QtCore/QVector>

#include "contracts/paths/physical_path.h"

/// Removes every root that lies inside another, compared without regard to case.
/// A root that stands in the list twice stays twice: only a strict parent
/// removes a child.
void remove_nested_roots(QVector<PHYSICAL_PATH>& roots);

/// Every proper ancestor of `folder` up to and including the first of
/// `data_roots` that holds it. Nothing for a data root itself and for a folder
/// outside all of them.
QSet<PHYSICAL_PATH> ancestors_within(const PHYSICAL_PATH& folder, const QVector<PHYSICAL_PATH>& data_roots);
