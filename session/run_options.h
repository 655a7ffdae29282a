#pragma once

#include <QtCore/QString>

/// What a silent run is asked for beyond its configuration, fixed once the options
/// have been read. As it comes it asks for nothing: the whole plan runs.
struct RUN_OPTIONS
{
    bool only_out_of_date = false; ///< leave out what would come out as it is already
    bool explain = false;          ///< tell of each action of the plan why it runs or does not
    bool dry_run = false;          ///< plan and tell, but build nothing and write nothing but the report
    QString report;                ///< absolute path, the name of the share in it; empty for none
    int shard = 0;                 ///< which share of the plan is this run's, from 1 to `shards`
    int shards = 0;                ///< 0: the plan is not divided

    bool is_divided() const { return shards > 0; }
};
