#pragma once

#include "check/fetcher.h"

#include <chrono>
#include <memory>

namespace Cli {

struct FetchOptions
{
    int jobs = 8; ///< requests at a time
    std::chrono::seconds timeout{30}; ///< without a byte
};

/// Fetches with libcurl. Fails only after three tries, where another try may help. Keeps no cookies, sends no
/// credentials and asks for no compression. From the first run on, Ctrl+C interrupts it instead of ending the program.
///
/// Null where the program was built without libcurl.
[[nodiscard]] std::unique_ptr<Check::Fetcher> makeHttpFetcher(const FetchOptions &options);

} // namespace Cli
