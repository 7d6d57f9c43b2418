#pragma once

#include <QtGlobal>

/// The size of a test that has a short form for every day and a long form for "./dev soak".
template <typename Number> Number lengthOf(Number everyDay, Number soak)
{
    return qEnvironmentVariableIsSet("CATALIST_SOAK") ? soak : everyDay;
}
