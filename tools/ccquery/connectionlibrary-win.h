#pragma once

#include <memory>
#include <string>

#include "clearcase/clearcaseconnection.h"

namespace ccquery {

/// Loads the library and makes a connection, as any host does. `file` is a path, or a bare name
/// that Windows looks for where it looks for libraries. Throws std::runtime_error, with one line
/// that says what to do, if there is no library, no function in it or no connection.
///
/// The library stays loaded: what it threw, and the connection, may outlive everything else here.
std::unique_ptr<ClearCaseConnection> connect(const std::string& file);

/// nbclearcase_fake.dll in the folder of this program.
std::string defaultLibrary();

}  // namespace ccquery
