#include "contracts/services/p4_connection.h"

P4_CONNECTION::P4_CONNECTION(bool, bool, bool enabled) : m_enabled(enabled) {}

P4_CONNECTION::~P4_CONNECTION() = default;
