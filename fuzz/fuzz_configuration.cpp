#include "contracts/configuration/configuration.h"
#include "fuzz/fuzz_target.h"

// What was read can be written, and reads as the same again.
void take_input(const QByteArray& input)
{
    CONFIGURATION configuration;
    QString error;
    if (!configuration.load(scratch_file(QStringLiteral("a.xml"), input), error)) {
        require(!error.isEmpty(), QStringLiteral("no cause"));
        return;
    }
    const QString first = scratch_path(QStringLiteral("b.xml"));
    const QString second = scratch_path(QStringLiteral("c.xml"));
    require(configuration.save(first, false), QStringLiteral("can't be saved"));
    CONFIGURATION again;
    require(again.load(first, error), error);
    require(again.save(second, false), QStringLiteral("can't be saved again"));
    require(bytes_of(first) == bytes_of(second), QStringLiteral("reads as another configuration"));
}
