#include "folder.h"
#include "io/platform.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"
#include "testrunner.h"

#include <QTest>

#include <functional>

#if defined(Q_PROCESSOR_X86_64) && defined(Q_CC_GNU)
#define HAS_VECTOR_REGISTERS
#include <cpuid.h>
#endif

using namespace Qt::StringLiterals;

namespace {

#ifdef HAS_VECTOR_REGISTERS

bool areUpperHalvesInUse()
{
    constexpr unsigned UPPER_HALVES = 1U << 2;
    unsigned inUse = 0;
    unsigned high = 0;
    asm volatile("xgetbv" : "=a"(inUse), "=d"(high) : "c"(1));
    return inUse & UPPER_HALVES;
}

void useUpperHalves()
{
    asm volatile("vcmptrueps %%ymm0, %%ymm0, %%ymm0" : : : "xmm0");
}

/// Whether the processor tells which of its registers are in use, and that they no longer are.
bool isKnown()
{
    constexpr unsigned XSAVE = 13;
    constexpr unsigned TELLS_WHAT_IS_IN_USE = 1U << 2;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (!__builtin_cpu_supports("avx") || !__get_cpuid_count(XSAVE, 1, &a, &b, &c, &d) || !(a & TELLS_WHAT_IS_IN_USE))
        return false;
    useUpperHalves();
    const bool areUsed = areUpperHalvesInUse();
    asm volatile("vzeroupper");
    return areUsed && !areUpperHalvesInUse();
}

#else

bool areUpperHalvesInUse()
{
    return false;
}

void useUpperHalves() { }

bool isKnown()
{
    return false;
}

#endif

} // namespace

class TestPlatform : public QObject
{
    Q_OBJECT

private slots:
    void vectorRegisters_data();
    void vectorRegisters();
};

void TestPlatform::vectorRegisters_data()
{
    // Each says whether it did its work.
    using Work = std::function<bool(const Folder &)>;
    QTest::addColumn<Work>("work");
    QTest::newRow("cleared") << Work([](const Folder &) {
        clearVectorRegisters();
        return true;
    });
    QTest::newRow("opening") << Work([](const Folder &folder) {
        QList<AppConfig> apps;
        return readProject(folder.path(u"Apps.csv"_s), &apps) && apps.size() == 1;
    });
    QTest::newRow("saving") << Work([](const Folder &) { return !projectContent({AppConfig()}).isEmpty(); });
    QTest::newRow("publishing") << Work([](const Folder &folder) {
        AppConfig app;
        app.files = QStringList{u"Apps.csv"_s};
        return !buildRepositoryIndex({app}, u"https://apps.example.org/"_s, folder.path()).isEmpty();
    });
}

void TestPlatform::vectorRegisters()
{
    QFETCH(const std::function<bool(const Folder &)>, work);
    const Folder folder;
    folder.write(u"Apps.csv"_s, R"({"en":"Clock"};Anna;1.0;674;05-03-2024;{};Apps.csv;;5.3)"
                                "\n");
    if (!isKnown())
        QSKIP("This processor does not tell which registers are in use");
    useUpperHalves();
    QVERIFY(areUpperHalvesInUse());
    // What the test itself does with registers comes after.
    const bool worked = work(folder);
    const bool areInUse = areUpperHalvesInUse();
    QVERIFY(worked);
    QVERIFY(!areInUse);
}

CATALIST_TEST(TestPlatform)
#include "tst_platform.moc"
