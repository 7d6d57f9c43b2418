#pragma once

#include <QRandomGenerator>
#include <QtGlobal>

/// The seed for random data: from CATALIST_SEED, to repeat a failure, or a new one. The test prints it when it fails.
inline quint32 testSeed()
{
    bool given = false;
    const int seed = qEnvironmentVariableIntValue("CATALIST_SEED", &given);
    return given ? static_cast<quint32>(seed) : QRandomGenerator::global()->generate() % 1'000'000;
}
