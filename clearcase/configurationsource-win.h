#pragma once

#include <string>

// What the environment says about the configuration. A variable that is empty counts as not set.

/// Returns the name of the file: NBCLEARCASE_FAKE_INI, or "nbclearcase_fake.ini" if that isn't set.
[[nodiscard]] std::string configurationFile();

/// Returns the view root prefix: CLEARCASE_ROOT, or an empty text if that isn't set.
[[nodiscard]] std::string viewRootPrefix();
