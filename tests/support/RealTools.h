#pragma once

#include <QString>

class TestPaths;

// The libimobiledevice tools this build was configured with (CORVALIN_TOOLS_DIR), for tests that
// run the real irecovery and idevicerestore instead of fakes.
namespace RealTools {

// The built Tools folder, or empty when the build has none.
QString folder();
// Why the tests that need the tools are skipped when there are none.
const char *unavailableMessage();
// Copies the built tools (bin/, lib/) into the test's tools folder, where the locator finds them;
// false when there is nothing to copy or a copy failed.
bool installInto(const TestPaths &paths);

} // namespace RealTools
