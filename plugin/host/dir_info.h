// "Directory Info": a service that is itself a function.
#pragma once

#include "plugin/host/types.h"

namespace cadencora::host {

constexpr const char* dirInfoName = "Directory Info";
constexpr const char* motionsDirectory = "Motions";

// The path of a host directory by its kind, or null. The text belongs to the host.
using DirInfo = const char* (*)(const char* kind);

} // namespace cadencora::host
