#pragma once

#include <memory>
#include <string>

#include "clearcase/clearcaseconnection.h"

namespace ccquery {

/// Loads the library and makes a connection, as any host does. `file` is a path, or a bare name
/// that Windows searches for where it searches for libraries. Throws std::runtime_error, with a
/// message of one line that says what to do, if there is no library, no function in it or no
/// connection.
///
/// The library stays loaded: the connection and exceptions from the library may outlive everything
/// else here.
[[nodiscard]] std::unique_ptr<ClearCaseConnection> connect(const std::string& file);

/// Returns the path of nbclearcase_fake.dll in the folder of this program.
[[nodiscard]] std::string defaultLibrary();

}  // namespace ccquery
