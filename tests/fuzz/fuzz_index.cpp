// Verifies any bytes as the index of a small published folder. What it says is known, and said again the next time.

#include "check/verify.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <cstdint>
#include <utility>

namespace {

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("Cannot write %s", qPrintable(path));
}

/// With what the kept inputs name.
QString makeFolder()
{
    static const QTemporaryDir folder;
    if (!QDir(folder.path()).mkpath(QStringLiteral("Clock/lib")))
        qFatal("Cannot make the folder");
    write(folder.filePath(QStringLiteral("Clock/main.lua")), "abc");
    write(folder.filePath(QStringLiteral("Clock/lib/a.lua")), "");
    write(folder.filePath(QStringLiteral("en.html")), "<img src=\"screen.png\">");
    write(folder.filePath(QStringLiteral("screen.png")), "x");
    write(folder.filePath(QStringLiteral("icon.png")), "x");
    return folder.path();
}

QSet<QString> known()
{
    QSet<QString> codes;
    const QList<KnownCode> all = verifyCodes();
    for (const KnownCode &code : all)
        codes.insert(code.code);
    return codes;
}

QStringList told(const CheckResult &result)
{
    QStringList lines{result.error};
    for (const Finding &finding : result.findings)
        lines.append(finding.code + QLatin1Char(' ') + finding.app + QLatin1Char(' ') + finding.text);
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString folder = makeFolder();
    static const QSet<QString> codes = known();
    const QString index = folder + QStringLiteral("/Apps.json");
    write(index, QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));

    const QString url = QStringLiteral("https://apps.example.org/");
    const CheckResult result = verifyIndex(folder, index, url);
    if (!result.error.isEmpty() && !result.findings.isEmpty())
        qFatal("An index that cannot be read has findings");
    for (const Finding &finding : std::as_const(result.findings)) {
        if (!codes.contains(finding.code) || finding.text.isEmpty())
            qFatal("A finding of no known kind: %s", qPrintable(finding.code));
    }
    if (told(verifyIndex(folder, index, url)) != told(result))
        qFatal("The same index is found to be different");
    return 0;
}
