#pragma once

#include <QByteArray>
#include <QString>

/// The first line of a project.
inline const QByteArray HEADER = "NAME;AUTHOR;VERSION;HARDWARE;DATE;DESCRIPTION;FILES_FOLDERS;ICON;MIN_TXVER\n";

/// The line of a new app.
inline const QByteArray NEW_APP = "{\"en\":\"[New App]\"};;;;;{};;;0.00\n";

// Messages of the window.
inline const QString LOAD_ERROR = QStringLiteral("Error loading <b>Apps.csv</b> settings");
inline const QString SAVE_ERROR = QStringLiteral("Error saving <b>Apps.csv</b> settings");
inline const QString NO_PROJECT = QStringLiteral("First create a new project");

/// The content of a new description.
inline const QByteArray DESCRIPTION_TEMPLATE = R"(<!DOCTYPE html>
<html>
<head>
  <meta charset="utf-8">
  <title>#Title</title>
</head>
<body>
  <h1>#App Name</h1>
  <p></p>
  <h2>#Description</h2>
  <p>...</p>
  <h2>#Usage</h2>
  <ol>
    <li>
      <p>...</p>
    </li>
  </ol>
</body>
</html>
)";
