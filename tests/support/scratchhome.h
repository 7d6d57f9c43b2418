#pragma once

#include <QTemporaryDir>

/// Keeps a program away from the screen and from everything that is the user's own.
/// To be made before the application object.
class ScratchHome
{
public:
    ScratchHome();

private:
    QTemporaryDir folder;
};
