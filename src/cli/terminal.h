#pragma once

// The terminal that the command runs in, and its standard streams.

namespace Cli {

/// Whether somebody reads standard error as it is written.
[[nodiscard]] bool isErrorOnTerminal();

/// Makes sure that no file that is opened later takes the place of a standard stream that the caller has closed.
void holdStandardStreams();

} // namespace Cli
