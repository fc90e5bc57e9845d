#pragma once

namespace larkspool {

/// Whether the caller runs on the thread that started the process.
bool isMainThread();

} // namespace larkspool
