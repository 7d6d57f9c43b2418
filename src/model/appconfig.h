#pragma once

#include <QByteArray>
#include <QDate>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVersionNumber>

#include <array>

/// The transmitter models that the editor knows. A value is a position in TX_IDS.
enum TxType : unsigned {
    TxKr7Alt, // read only: another id of the KR-7
    TxKr7,
    TxVl7,
    TxVl5,
    TxKr5,
    TxKr9,
    TxVl9,
    TxVl3,
    TxKr7II,
    TxVl7II,
    TxKr5II,
    TxVl5II,
    TxKr9B,
    TxVl9B,
    TxKr7IIB,
    TxVl7IIB,
    TxKr5IIB,
    TxVl5IIB,
    TxVl3B,
    TxKr9G2,
    TxVl9G2,
};

/// Hardware ids, looked up by position; they are not ascending.
inline constexpr std::array<qint32, 21> TX_IDS{673,  674,  675,  676,  677,  678,  679,  680,  652,  653, 3857,
                                               3858, 3859, 3860, 3861, 3862, 3863, 3864, 3865, 3866, 3867};

/// The languages that the editor offers.
inline constexpr std::array LANGUAGES{"cz", "de", "en", "fr", "it"};

/// Lists show the app by its name in this language.
inline constexpr QLatin1String DEFAULT_LANGUAGE("en");

/// Endings of the pictures that the editor offers as icons, in lower or upper case.
inline constexpr std::array ICON_ENDINGS{"jpg", "png", "jpeg", "gif"};

// What the editor fills in for its author to replace.
inline constexpr QLatin1String PLACEHOLDER_NAME("[New App]"); ///< of a new app
[[nodiscard]] QDate placeholderDate(); ///< shown for an app without a date, and then stored by "Apply"
[[nodiscard]] QByteArray descriptionTemplate(); ///< the content of a new description

/// One app of the catalogue. Paths are relative to the project folder, with "/" separators.
struct AppConfig
{
    QMap<QString, QString> names; ///< language code -> display name
    QString author;
    QVersionNumber version;
    QDate date; ///< of publication; invalid when unknown
    QString icon; ///< path of the preview icon
    QVersionNumber minTxVersion; ///< minimum firmware; only two segments are ever shown or written
    QList<qint32> hardware; ///< values of TX_IDS in the order they were added; may hold others and duplicates
    QMap<QString, QString> descriptions; ///< language code -> path of an HTML file
    QStringList files; ///< paths of files and folders, in the author's order

    /// Whether the app runs on a model. The two ids of the KR-7 count as one.
    /// The type must be a position in TX_IDS.
    [[nodiscard]] bool isCompatible(TxType type) const;

    friend bool operator==(const AppConfig &, const AppConfig &) = default;
};

/// A firmware version as it is shown and written: the second segment in two digits, so that 5.3 reads "5.03".
/// Missing segments count as 0, further ones are dropped.
[[nodiscard]] QString firmwareText(const QVersionNumber &version);
