#pragma once

#include "scratchhome.h"

#include <QObject>

#include <memory>

/// The test classes that are linked into a runner. Each is run by name, in a process of its own.
class TestRegistry
{
public:
    using Make = std::unique_ptr<QObject> (*)();

    /// The name is that of the source file without "tst_" and its ending.
    static bool add(const char *sourceFile, Make make);

    /// Runs the test that the first argument names, with the other arguments, which are Qt Test's.
    /// Without such a test it lists all tests and returns 2.
    static int run(int argc, char **argv);
};

/// To be put at the end of the source file of a test class.
#define CATALIST_TEST(TestClass)                                                                                       \
    namespace {                                                                                                        \
    [[maybe_unused]] const bool isRegistered =                                                                         \
        TestRegistry::add(__FILE__, []() -> std::unique_ptr<QObject> { return std::make_unique<TestClass>(); });       \
    }

/// The main function of a runner.
#define CATALIST_RUNNER(Application)                                                                                   \
    int main(int argc, char **argv)                                                                                    \
    {                                                                                                                  \
        const ScratchHome home;                                                                                        \
        const Application application(argc, argv);                                                                     \
        return TestRegistry::run(argc, argv);                                                                          \
    }
