// Verifies any bytes as the index of a small published folder. The findings have known codes, and are the same again.

#include "check/verification.h"
#include "check/verify.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <cstdint>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("Cannot write %s", qPrintable(path));
}

/// With the files that the kept inputs name.
QString makeFolder()
{
    static const QTemporaryDir folder;
    if (!QDir(folder.path()).mkpath(u"Clock/lib"_s))
        qFatal("Cannot make the folder");
    write(folder.filePath(u"Clock/main.lua"_s), "abc");
    write(folder.filePath(u"Clock/lib/a.lua"_s), "");
    write(folder.filePath(u"en.html"_s), "<img src=\"screen.png\">");
    write(folder.filePath(u"screen.png"_s), "x");
    write(folder.filePath(u"icon.png"_s), "x");
    return folder.path();
}

QSet<QString> known()
{
    QSet<QString> codes;
    const QList<Check::Rule> all = Check::verifyRules();
    for (const Check::Rule &rule : all)
        codes.insert(QLatin1String(rule.code));
    return codes;
}

QStringList texts(const FileResult<Check::Result> &result)
{
    if (!result)
        return {result.error().text()};
    QStringList lines;
    for (const Check::Finding &finding : result->findings)
        lines.append(finding.code + u' ' + finding.app + u' ' + finding.text);
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString folder = makeFolder();
    static const QSet<QString> codes = known();
    const QString index = folder + u"/Apps.json"_s;
    write(index, QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));

    const QString url = u"https://apps.example.org/"_s;
    const auto result = Check::verifyIndex(folder, index, url);
    for (const Check::Finding &finding : result ? result->findings : QList<Check::Finding>()) {
        if (!codes.contains(finding.code) || finding.text.isEmpty())
            qFatal("A finding with an unknown code: %s", qPrintable(finding.code));
    }
    if (texts(Check::verifyIndex(folder, index, url)) != texts(result))
        qFatal("The second result differs");
    return 0;
}
