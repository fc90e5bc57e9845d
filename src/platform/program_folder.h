#pragma once

#include <string>

namespace larkspool {

/// The folder that the running program's file is in, without a slash at the end; empty where the system does not tell.
std::string programFolder();

} // namespace larkspool
