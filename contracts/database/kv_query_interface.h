#pragma once

/// What every kind of database query service shares, whatever the format of
/// the tables behind it.
class KV_QUERY_INTERFACE
{
public:
    /// Whether to fetch the newest tables from version control while
    /// connecting. The numbers are those of the preference "Get latest
    /// database".
    enum GET_LATEST_MODE : int
    {
        GET_LATEST_ASK = 0,
        GET_LATEST_ALWAYS = 1,
        GET_LATEST_NEVER = 2,
    };
};
