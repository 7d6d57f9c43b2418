// Parses any text as a line. No field is longer than the line, and fields hold no more than was there.

#include "io/csv.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString line = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    qsizetype characters = 0;
    const QStringList fields = parseCSV(line);
    for (const QString &field : fields)
        characters += field.size();
    if (characters > line.size() || fields.size() > line.size())
        qFatal("More came out than went in");
    if (toDate(line).isValid() && line.isEmpty())
        qFatal("No text is no date");
    return 0;
}
