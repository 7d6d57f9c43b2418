#include "testrunner.h"

#include <QCoreApplication>

CATALIST_RUNNER(QCoreApplication)
