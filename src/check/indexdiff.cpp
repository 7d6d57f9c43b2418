#include "check/indexdiff.h"

#include "check/appname.h"
#include "io/repositoryindex.h"

#include <QHash>
#include <QSet>

#include <array>
#include <utility>

namespace Check {

namespace {

using enum Severity;

constexpr std::array RULES{
    Rule{"version-same", Warning, "The files differ, but the version is still \"%1\": give the app a higher one.",
         nullptr, Places{.actual = 1}},
};

struct Member
{
    const char *name;
    const char *title;
    bool isUrl = false; ///< or has one for each language
    bool isSet = false; ///< neither order nor repetition counts
};

/// What is compared of an app beside its files.
constexpr std::array MEMBERS{
    Member{"version", "version"},
    Member{"name", "name"},
    Member{"author", "author"},
    Member{"releaseDate", "release date"},
    Member{.name = "hw", .title = "transmitters", .isSet = true},
    Member{.name = "description", .title = "description", .isUrl = true},
    Member{.name = "previewIcon", .title = "icon", .isUrl = true},
};

/// The repository URLs of two indexes; empty where they are not known.
struct RepositoryUrls
{
    QString before;
    QString after;
};

/// What is before the path of a file. The index has it nowhere else.
QString repositoryUrlOf(const QJsonArray &apps)
{
    for (const auto app : apps) {
        const QJsonArray files = app.toObject().value(QLatin1String("files")).toArray();
        for (const auto file : files) {
            const QJsonObject entry = file.toObject();
            const QString destination = entry.value(QLatin1String("destination")).toString();
            const QString path = destination.startsWith(APPS_FOLDER) ? destination.mid(APPS_FOLDER.size()) : QString();
            QString url = entry.value(QLatin1String("url")).toString();
            if (!path.isEmpty() && url.endsWith(QLatin1Char('/') + path)) {
                url.chop(path.size());
                return url;
            }
        }
    }
    return {};
}

QJsonValue withoutUrl(const QJsonValue &value, const QString &repoUrl)
{
    const QString text = value.toString();
    return value.isString() && text.startsWith(repoUrl) ? QJsonValue(text.mid(repoUrl.size())) : value;
}

/// The values that another array does not have, each once; undefined for none.
QJsonValue onlyIn(const QJsonArray &array, const QJsonArray &other)
{
    QSet<QJsonValue> known(other.begin(), other.end());
    QJsonArray rest;
    for (const auto value : array) {
        if (known.contains(value))
            continue;
        known.insert(value);
        rest.append(value);
    }
    return rest.isEmpty() ? QJsonValue(QJsonValue::Undefined) : QJsonValue(rest);
}

/// Adds the differences of one member.
void compareMember(const Member &member, const QJsonValue &before, const QJsonValue &after, const RepositoryUrls &urls,
                   QList<ValueChange> *changes)
{
    const auto add = [&](const QString &language, const QJsonValue &old, const QJsonValue &now) {
        changes->append({QLatin1String(member.name), QLatin1String(member.title), language, old, now});
    };
    const auto compare = [&](const QString &language, const QJsonValue &old, const QJsonValue &now) {
        const bool isSame = old == now || (member.isUrl && withoutUrl(old, urls.before) == withoutUrl(now, urls.after));
        if (!isSame)
            add(language, old, now);
    };
    if (before.isObject() && after.isObject()) {
        const QJsonObject old = before.toObject();
        const QJsonObject now = after.toObject();
        QStringList languages = old.keys() + now.keys();
        languages.removeDuplicates();
        languages.sort();
        for (const QString &language : std::as_const(languages))
            compare(language, old.value(language), now.value(language));
    } else if (member.isSet && before.isArray() && after.isArray()) {
        const QJsonValue removed = onlyIn(before.toArray(), after.toArray());
        const QJsonValue added = onlyIn(after.toArray(), before.toArray());
        if (!removed.isUndefined())
            add({}, removed, QJsonValue::Undefined);
        if (!added.isUndefined())
            add({}, QJsonValue::Undefined, added);
    } else {
        compare({}, before, after);
    }
}

/// The files of an app.
struct Files
{
    QStringList destinations; ///< in the order of the index, each once
    QHash<QString, QSet<QJsonValue>> contents; ///< sizes and hashes by destination
};

Files filesOf(const QJsonObject &app)
{
    const QJsonValue files = app.value(QLatin1String("files"));
    // What should have been a list counts as an entry, so that it differs from an empty one.
    const QJsonArray entries = files.isArray() || files.isUndefined() ? files.toArray() : QJsonArray{files};
    Files all;
    for (const auto value : entries) {
        const QJsonObject entry = value.toObject();
        const QJsonValue destination = entry.value(QLatin1String("destination"));
        const QJsonObject content{
            {QStringLiteral("size"), entry.value(QLatin1String("size"))},
            {QStringLiteral("hash"), entry.value(QLatin1String("hash"))},
        };
        QSet<QJsonValue> &contents = all.contents[destination.toString()];
        if (contents.isEmpty())
            all.destinations.append(destination.toString());
        contents.insert(destination.isString() ? QJsonValue(content) : QJsonValue(value));
    }
    return all;
}

FileChanges compareFiles(const Files &before, const Files &after)
{
    FileChanges changes;
    for (const QString &destination : before.destinations) {
        if (!after.contents.contains(destination))
            changes.removed.append(destination);
    }
    for (const QString &destination : after.destinations) {
        const auto old = before.contents.constFind(destination);
        if (old == before.contents.constEnd())
            changes.added.append(destination);
        else if (*old != after.contents.value(destination))
            changes.changed.append(destination);
    }
    return changes;
}

AppChange compareApps(const QJsonObject &before, const QJsonObject &after, const RepositoryUrls &urls)
{
    AppChange change{before, after};
    for (const Member &member : MEMBERS) {
        const QLatin1String name(member.name);
        compareMember(member, before.value(name), after.value(name), urls, &change.values);
    }
    change.files = compareFiles(filesOf(before), filesOf(after));
    const QJsonValue version = after.value(QLatin1String("version"));
    if (!change.files.isEmpty() && before.value(QLatin1String("version")) == version)
        Report(RULES.front(), &change.findings).add(nameOf(after), 0, {version.toVariant().toString()});
    return change;
}

/// What an app is known by: its name. What is no app is known by itself.
QJsonValue keyOf(const QJsonValue &app)
{
    return app.isObject() ? QJsonValue(nameOf(app.toObject())) : QJsonValue(QJsonArray{app});
}

} // namespace

IndexDiff compareIndexes(const QJsonArray &before, const QJsonArray &after)
{
    QHash<QJsonValue, QList<qsizetype>> left; // the places of the apps in the older index
    for (qsizetype i = 0; i < before.size(); ++i)
        left[keyOf(before.at(i))].append(i);
    const RepositoryUrls urls{repositoryUrlOf(before), repositoryUrlOf(after)};
    QSet<qsizetype> paired;
    IndexDiff diff;
    diff.apps = after.size();
    for (const auto app : after) {
        const auto places = left.find(keyOf(app));
        if (places == left.end() || places->isEmpty()) {
            diff.added.append(app.toObject());
            continue;
        }
        const qsizetype place = places->takeFirst();
        paired.insert(place);
        const AppChange change = compareApps(before.at(place).toObject(), app.toObject(), urls);
        if (!change.isEmpty())
            diff.changed.append(change);
    }
    for (qsizetype i = 0; i < before.size(); ++i) {
        if (!paired.contains(i))
            diff.removed.append(before.at(i).toObject());
    }
    return diff;
}

QList<Rule> diffRules()
{
    return {RULES.begin(), RULES.end()};
}

} // namespace Check
