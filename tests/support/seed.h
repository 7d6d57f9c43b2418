#pragma once

#include "lengths.h"

#include <QRandomGenerator>
#include <QtGlobal>

/// The seed for random data: from CATALIST_SEED, to repeat a failure, a new one in "./dev soak", and always the same
/// one otherwise, so that a change fails for its own faults only. The test prints it when it fails.
inline quint32 testSeed()
{
    bool given = false;
    const int seed = qEnvironmentVariableIntValue("CATALIST_SEED", &given);
    return given ? static_cast<quint32>(seed) : lengthOf(1U, QRandomGenerator::global()->generate() % 1'000'000);
}
