#pragma once

#include <QTemporaryDir>

/// Keeps a program away from the screen and from the user's own files.
/// To be created before the application object.
class ScratchHome
{
public:
    ScratchHome();

private:
    QTemporaryDir folder;
};
