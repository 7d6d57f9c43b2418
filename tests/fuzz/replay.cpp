// Gives every file of a folder to a fuzz target, without a fuzzer.

#include <QDirIterator>
#include <QFile>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char *argv[])
{
    int inputs = 0;
    QDirIterator files(QString::fromLocal8Bit(argc == 2 ? argv[1] : ""), QDir::Files);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly))
            qFatal("Cannot read %s", qPrintable(file.fileName()));
        const QByteArray content = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(content.constData()),
                               static_cast<size_t>(content.size()));
        ++inputs;
    }
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
