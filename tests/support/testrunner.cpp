#include "testrunner.h"

#include "lengths.h"

#include <QFileInfo>
#include <QMap>
#include <QTest>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

QMap<QString, TestRegistry::Make> &tests()
{
    static QMap<QString, TestRegistry::Make> all;
    return all;
}

} // namespace

bool TestRegistry::add(const char *sourceFile, Make make)
{
    const QString name = QFileInfo(QString::fromUtf8(sourceFile)).baseName().remove(u"tst_"_s);
    tests().insert(name, make);
    return true;
}

int TestRegistry::run(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const Make make = tests().value(arguments.value(1));
    if (!make) {
        std::fprintf(stderr, "Name one of these tests first, then the options of Qt Test:\n%s\n",
                     qPrintable(tests().keys().join(u'\n')));
        return 2;
    }
    arguments.removeAt(1);
    // Qt's own timeout is too short for the sanitizers.
    if (!qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT"))
        qputenv("QTEST_FUNCTION_TIMEOUT", lengthOf("500000", "10000000"));
    return QTest::qExec(make().get(), arguments);
}
