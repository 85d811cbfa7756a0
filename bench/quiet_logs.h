#pragma once

namespace tev {
namespace bench {

// The library's log lines are still built, as on a device, but go nowhere: what a device's log
// transport costs is not the bridge's, and the benchmark's output stays readable.
void DiscardLogOutput();

}  // namespace bench
}  // namespace tev
