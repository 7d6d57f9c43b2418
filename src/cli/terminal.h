#pragma once

// The terminal that the command runs in, and its standard streams.

namespace Cli {

/// Whether somebody reads standard error as it is written.
[[nodiscard]] bool isErrorOnTerminal();

/// Makes sure that no file that is opened later takes the place of a standard stream that the caller has closed.
void holdStandardStreams();

/// From now on the first Ctrl+C does not end the program, but is remembered.
void catchInterruption();
[[nodiscard]] bool isInterrupted();

} // namespace Cli
