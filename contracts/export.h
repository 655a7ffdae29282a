#pragma once

// GOX_CONTRACTS_EXPORT marks what gox_contracts offers to the program and to plugins.

#include <QtCore/qglobal.h>

#if defined(GOX_CONTRACTS_BUILD)
#define GOX_CONTRACTS_EXPORT Q_DECL_EXPORT
#else
#define GOX_CONTRACTS_EXPORT Q_DECL_IMPORT
#endif
