#pragma once

#include "contracts/services/directory_scanner.h"

/// The process-wide directory scanner.
class GOX_CONTRACTS_EXPORT SATELLITE : public DIRECTORY_SCANNER
{
public:
    /// The same object each time. Any thread.
    static SATELLITE& instance();

    /// Ends the scanner's work: its threads are gone and what nobody fetched is
    /// dropped. The object can be used for a further scan.
    void stop();

private:
    SATELLITE() = default;
};
