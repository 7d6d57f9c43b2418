#include "testrunner.h"

#include <QApplication>

CATALIST_RUNNER(QApplication)
