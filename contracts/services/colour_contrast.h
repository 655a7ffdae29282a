#pragma once

#include <QtGui/QColor>

#include "contracts/export.h"

/// How well one colour is seen on the other, as the guidelines for legible content
/// define it: from 1 for the same colour to 21 for black and white. Text that is to be
/// read at a glance, and the outlines of what can be pressed, need LEAST_CONTRAST.
/// Alpha takes no part. Any thread.
GOX_CONTRACTS_EXPORT double contrast(const QColor& one, const QColor& other);

const double LEAST_CONTRAST = 3;
