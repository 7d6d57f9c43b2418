#include "check/pictureheader.h"

#include "testrunner.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestPictureHeader : public QObject
{
    Q_OBJECT

private slots:
    void reads_data();
    void reads();
    void readsEveryBeginning_data();
    void readsEveryBeginning();
    void longJpeg();
};

namespace {

using Check::PictureHeader;

constexpr auto PNG = "89504e470d0a1a0a"
                     "0000000d49484452"
                     "00000203 00000405";
constexpr auto GIF = "474946383961 0302 0504";
constexpr auto JPEG_START = "ffd8 ffe0 0006 4a464946";
constexpr auto JPEG_FRAME = "ffc0 000b 08 0405 0203 01 01 11 00";

struct Row
{
    const char *title;
    QByteArray hex;
    PictureHeader::Kind kind;
    qint64 width;
    qint64 height;
};

QList<Row> rows()
{
    const QByteArray start(JPEG_START);
    const QByteArray frame(JPEG_FRAME);
    return {
        {"PNG", PNG, PictureHeader::Png, 0x203, 0x405},
        {"PNG of the largest size", "89504e470d0a1a0a0000000d49484452 ffffffff ffffffff", PictureHeader::Png,
         0xffff'ffff, 0xffff'ffff},
        {"PNG with another chunk before", "89504e470d0a1a0a0000000d74455874 00000203 00000405", PictureHeader::Png, 0,
         0},
        {"GIF", GIF, PictureHeader::Gif, 0x203, 0x405},
        {"GIF of the first version", "474946383761 ffff 0100", PictureHeader::Gif, 0xffff, 1},
        {"JPEG", start + frame, PictureHeader::Jpeg, 0x203, 0x405},
        {"JPEG, progressive", start + "ffc2 000b 08 ffff 0001 01 01 11 00", PictureHeader::Jpeg, 1, 0xffff},
        {"JPEG, the last kind of frame", start + "ffcf 000b 08 0405 0203 01 01 11 00", PictureHeader::Jpeg, 0x203,
         0x405},
        {"JPEG, tables before the frame", start + "ffdb 0004 0000 ffc4 0008 ffc00101ffff ffc8 0002 ffcc 0002" + frame,
         PictureHeader::Jpeg, 0x203, 0x405},
        {"JPEG, a frame in a preview", start + "ffe1 000e ffd8 ffc0 000b 08 9999 9999 01" + frame, PictureHeader::Jpeg,
         0x203, 0x405},
        {"JPEG, markers without segments", start + "ff01 ffd0 ffd7" + frame, PictureHeader::Jpeg, 0x203, 0x405},
        {"JPEG, filled up", start + "ffffff" + frame, PictureHeader::Jpeg, 0x203, 0x405},
        {"JPEG, stray bytes", start + "0102 ff00 03" + frame, PictureHeader::Jpeg, 0x203, 0x405},
        {"JPEG, a frame after the picture", start + "ffd9" + frame, PictureHeader::Jpeg, 0, 0},
        {"JPEG, a frame after the data", start + "ffda 0002" + frame, PictureHeader::Jpeg, 0, 0},
        {"JPEG, a length of nothing", start + "ffe1 0000" + frame, PictureHeader::Jpeg, 0, 0},
        {"JPEG, a length of less than itself", start + "ffe1 0001" + frame, PictureHeader::Jpeg, 0, 0},
        {"JPEG, a length past the end", start + "ffe1 ffff" + frame, PictureHeader::Jpeg, 0, 0},
        {"JPEG, a length past the end by one", start + "ffe1 0010" + frame, PictureHeader::Jpeg, 0, 0},
        {"nothing", "", PictureHeader::Other, 0, 0},
        {"text", "3c7376672f3e", PictureHeader::Other, 0, 0},
        {"PNG sent as text", "89504e470a1a0a", PictureHeader::Other, 0, 0},
    };
}

void addRows()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<PictureHeader::Kind>("kind");
    QTest::addColumn<qint64>("width");
    QTest::addColumn<qint64>("height");
    const QList<Row> all = rows();
    for (const Row &row : all)
        QTest::newRow(row.title) << QByteArray::fromHex(row.hex) << row.kind << row.width << row.height;
}

} // namespace

void TestPictureHeader::reads_data()
{
    addRows();
}

void TestPictureHeader::reads()
{
    QFETCH(QByteArray, bytes);
    QFETCH(PictureHeader::Kind, kind);
    const PictureHeader header = Check::pictureHeader(bytes);
    QCOMPARE(header.kind, kind);
    QTEST(header.width, "width");
    QTEST(header.height, "height");
}

void TestPictureHeader::readsEveryBeginning_data()
{
    addRows();
}

// A file that is cut short has the size that it says, or none.
void TestPictureHeader::readsEveryBeginning()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, width);
    QFETCH(qint64, height);
    for (qsizetype size = 0; size < bytes.size(); ++size) {
        // A copy of its own, so that the sanitizer sees each byte that is read behind it.
        const PictureHeader header = Check::pictureHeader(QByteArray(bytes.constData(), size));
        QVERIFY2(header.width == 0 || header.width == width, qPrintable(QString::number(size)));
        QVERIFY2(header.height == 0 || header.height == height, qPrintable(QString::number(size)));
    }
}

void TestPictureHeader::longJpeg()
{
    constexpr int MANY = 500'000;
    const QByteArray start = QByteArray::fromHex(JPEG_START);
    const QByteArray frame = QByteArray::fromHex(JPEG_FRAME);
    for (const char *filler : {"ff", "ff00", "ffe10002", "ffd0", "00"}) {
        const QByteArray content = start + QByteArray::fromHex(filler).repeated(MANY);
        QCOMPARE(Check::pictureHeader(content).width, 0);
        QCOMPARE(Check::pictureHeader(content + frame).width, 0x203);
    }
}

CATALIST_TEST(TestPictureHeader)
#include "tst_pictureheader.moc"
