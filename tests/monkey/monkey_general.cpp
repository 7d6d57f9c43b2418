#include "monkey.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct BoxTypes
{
    const char *box;
    QList<TxType> shownFrom;
    QList<TxType> stored;
};

const QList<BoxTypes> BOXES{
    {"kr7Compatible", {TxKr7, TxKr7Alt}, {TxKr7}},
    {"vl7Compatible", {TxVl7}, {TxVl7}},
    {"vl5Compatible", {TxVl5}, {TxVl5}},
    {"kr5Compatible", {TxKr5}, {TxKr5}},
    {"kr9Compatible", {TxKr9, TxKr9B}, {TxKr9, TxKr9B}},
    {"vl9Compatible", {TxVl9, TxVl9B}, {TxVl9, TxVl9B}},
    {"vl3Compatible", {TxVl3, TxVl3B}, {TxVl3, TxVl3B}},
    {"kr7IICompatible", {TxKr7II, TxKr7IIB}, {TxKr7II, TxKr7IIB}},
    {"vl7IICompatible", {TxVl7II, TxVl7IIB}, {TxVl7II, TxVl7IIB}},
    {"kr5IICompatible", {TxKr5II, TxKr5IIB}, {TxKr5II, TxKr5IIB}},
    {"vl5IICompatible", {TxVl5II, TxVl5IIB}, {TxVl5II, TxVl5IIB}},
    {"kr9g2Compatible", {TxVl9G2}, {TxKr9G2}},
    {"vl9g2Compatible", {TxVl9G2}, {TxVl9G2}},
};

const std::array<std::array<const char *, 3>, 3> LANGUAGE_ROWS{{
    {"appName1_2", "lng1_2", "check1_2"},
    {"appName1_3", "lng1_3", "check1_3"},
    {"appName1_4", "lng1_4", "check1_4"},
}};
const QStringList ROW_LANGUAGES{u"cz"_s, u"de"_s, u"fr"_s, u"it"_s};
const std::array<const char *, 5> TEXT_FIELDS{"appName1_1", "author", "version", "icon", "minTxVersion"};

} // namespace

QStringList Monkey::fields() const
{
    QStringList texts;
    for (const char *name : TEXT_FIELDS)
        texts.append(get<QLineEdit>(name)->text());
    texts.append(get<QDateEdit>("publicationDate")->date().toString(Qt::ISODate));
    for (const BoxTypes &row : BOXES)
        texts.append(onOrOff(get<QCheckBox>(row.box)->isChecked()));
    for (const auto &[name, language, used] : LANGUAGE_ROWS) {
        const bool on = get<QCheckBox>(used)->isChecked();
        texts += {get<QLineEdit>(name)->text(), get<QComboBox>(language)->currentText(), onOrOff(on)};
        // Relative to the tab widget, which may be disabled itself.
        const auto *page = get<QWidget>("tabWidget");
        texts +=
            {onOrOff(get<QLineEdit>(name)->isEnabledTo(page)), onOrOff(get<QComboBox>(language)->isEnabledTo(page))};
    }
    return texts;
}

QStringList Monkey::fieldsOf(const AppConfig &app) const
{
    QStringList texts{app.names.value(u"en"_s), app.author, app.version.toString(), app.icon};
    texts.append(u"%1.%2"_s.arg(app.minTxVersion.segmentAt(0)).arg(app.minTxVersion.segmentAt(1), 2, 10, '0'_L1));
    texts.append((app.date.isValid() ? app.date : QDate(2000, 1, 1)).toString(Qt::ISODate));
    for (const BoxTypes &row : BOXES) {
        const bool on = std::any_of(row.shownFrom.begin(), row.shownFrom.end(),
                                    [&app](TxType type) { return app.hardware.contains(TX_IDS[type]); });
        texts.append(onOrOff(on));
    }
    QStringList codes = app.names.keys();
    codes.removeAll(u"en"_s);
    for (int row = 0; row < 3; ++row) {
        const QString code = codes.value(row);
        const bool on = row < codes.size();
        QString language = ROW_LANGUAGES.at(row);
        if (on) // a language that the box does not offer changes nothing
            language = ROW_LANGUAGES.contains(code) ? code : shownFields.value(texts.size() + 1);
        texts += {on ? app.names.value(code) : QString(), language, onOrOff(on), onOrOff(on), onOrOff(on)};
    }
    return texts;
}

void Monkey::editField()
{
    if (!areTabsEnabled())
        return;
    const int field = number(static_cast<int>(TEXT_FIELDS.size()));
    const QString text = someText();
    note(u"%1 to \"%2\""_s.arg(QLatin1String(TEXT_FIELDS.at(static_cast<size_t>(field))), text));
    get<QLineEdit>(TEXT_FIELDS.at(static_cast<size_t>(field)))->setText(text);
    shownFields[field] = text;
}

void Monkey::editBox()
{
    if (!areTabsEnabled())
        return;
    const int box = number(static_cast<int>(BOXES.size()));
    note(QLatin1String(BOXES.at(box).box));
    press(BOXES.at(box).box);
    QString &shown = shownFields[static_cast<qsizetype>(TEXT_FIELDS.size()) + 1 + box];
    shown = onOrOff(shown == onOrOff(false));
}

void Monkey::editLanguage()
{
    if (!areTabsEnabled())
        return;
    const int row = number(3);
    const auto &[name, language, used] = LANGUAGE_ROWS.at(static_cast<size_t>(row));
    const qsizetype first = static_cast<qsizetype>(TEXT_FIELDS.size()) + 1 + BOXES.size() + row * 5LL;
    if (!get<QCheckBox>(used)->isChecked() || chance(20)) {
        note(QLatin1String(used));
        press(used);
        for (const int part : {2, 3, 4})
            shownFields[first + part] = onOrOff(get<QCheckBox>(used)->isChecked());
    } else if (chance(50)) {
        const int choice = number(static_cast<int>(ROW_LANGUAGES.size()));
        note(QLatin1String(language));
        get<QComboBox>(language)->setCurrentIndex(choice);
        shownFields[first + 1] = ROW_LANGUAGES.at(choice);
    } else {
        const QString text = someText();
        note(QLatin1String(name));
        get<QLineEdit>(name)->setText(text);
        shownFields[first] = text;
    }
}

void Monkey::editDate()
{
    if (!areTabsEnabled())
        return;
    const QDate date = QDate(1990, 1, 1).addDays(number(20000));
    get<QDateEdit>("publicationDate")->setDate(date);
    shownFields[static_cast<qsizetype>(TEXT_FIELDS.size())] = date.toString(Qt::ISODate);
}

void Monkey::pickIcon()
{
    if (!areTabsEnabled())
        return;
    expect(u"FileDialog"_s, {});
    if (chance(50) && QFileInfo(appPath).absoluteDir().exists()) {
        dialogs->pickInProject(u"img/icon.png"_s);
        shownFields[3] = u"img/icon.png"_s;
    } else {
        note(u"cancelled"_s);
        dialogs->cancel();
    }
    press("iconBtn");
}

void Monkey::apply()
{
    if (hasCurrent()) {
        AppConfig &app = records[index];
        auto field = shownFields.cbegin();
        app.names = {{u"en"_s, *field++}};
        app.author = *field++;
        app.version = QVersionNumber::fromString(*field++);
        app.icon = *field++;
        app.minTxVersion = QVersionNumber::fromString(*field++);
        app.date = QDate::fromString(*field++, Qt::ISODate);
        app.hardware.clear();
        for (const BoxTypes &row : BOXES) {
            if (*field++ == onOrOff(false))
                continue;
            for (const TxType type : row.stored)
                app.hardware.append(TX_IDS[type]);
        }
        for (int row = 0; row < 3; ++row, field += 5) {
            if (field[2] == onOrOff(true))
                app.names.insert(field[1], field[0]);
        }
        modified = true;
        refreshed();
    }
    press("applyButton");
}
