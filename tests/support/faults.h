#pragma once

// What the preloaded library offers to the program that it disturbs, found with dlsym.

enum class Fault {
    Count, ///< nothing happens; the calls are only named
    Kill, ///< the process ends before the call
    Fail, ///< the call does nothing and fails, a close apart, which closes
    KeepFailing, ///< the same, and so does every later call of the same name
    Forestalled, ///< a folder that is to be made has just been made by somebody else
    Vanished, ///< the folder of what is opened, if it holds nothing else, has just been removed by somebody else
    CutShort, ///< a write takes half of its bytes and says so
    KillHalfway, ///< a write takes half of its bytes, then the process ends
    Lose, ///< a flush to the disk fails, and half of what was written is gone
};

/// From now on the calls that concern something below a folder are counted, and one of them, the first being
/// number 1, has the fault; `error` is what a failure sets errno to.
using ArmFaults = void (*)(const char *folder, int call, Fault fault, int error);

/// Ends that, and returns the names of the calls, each followed by a blank.
using DisarmFaults = const char *(*)();
