#pragma once

#include <QByteArray>

/// The first line of a project.
inline const QByteArray HEADER = "NAME;AUTHOR;VERSION;HARDWARE;DATE;DESCRIPTION;FILES_FOLDERS;ICON;MIN_TXVER\n";

/// What a new description begins as.
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
