#pragma once

// The functions of the preloaded library, to be found with dlsym.

enum class Fault {
    Count, ///< no fault; the calls are only counted
    Kill, ///< the process ends before the call
    Fail, ///< the call does nothing and fails, except for close, which closes
    KeepFailing, ///< the same, and so does every later call of the same name
    MadeByAnother, ///< another process has just made the folder
    Vanished, ///< another process has just removed the otherwise empty folder of an opened file
    CutShort, ///< a write writes half of its bytes, and returns that number
    KillHalfway, ///< a write writes half of its bytes, then the process ends
    Lose, ///< a flush to the disk fails, and half of what was written is gone
};

/// Starts counting the calls on anything below a folder. The one with the number, from 1, has the fault; `error` is the
/// errno of a failure.
using ArmFaults = void (*)(const char *folder, int call, Fault fault, int error);

/// Stops counting. Returns the names of the calls, each followed by a space.
using DisarmFaults = const char *(*)();
