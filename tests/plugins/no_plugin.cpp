#include <QtCore/qglobal.h>

/// A library like any other: it loads, and is no plugin.
extern "C" Q_DECL_EXPORT int gox_test_answer()
{
    return 42;
}
