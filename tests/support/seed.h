#pragma once

#include <QRandomGenerator>
#include <QtGlobal>

/// A seed for a test with random data: the one in the environment (CATALIST_SEED), to see a failure again, or a
/// fresh one. The test prints it when it fails.
inline quint32 testSeed()
{
    bool given = false;
    const int seed = qEnvironmentVariableIntValue("CATALIST_SEED", &given);
    return given ? static_cast<quint32>(seed) : QRandomGenerator::global()->generate() % 1'000'000;
}
