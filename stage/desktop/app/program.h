// The program `cadencora-desktop`: its arguments and its main loop.
#pragma once

namespace cadencora::stage {

int runDesktop(int argc, char** argv);

} // namespace cadencora::stage
