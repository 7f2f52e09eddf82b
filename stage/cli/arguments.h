// The command line of the headless program.
#pragma once

namespace cadencora::stage {

// Parses the arguments and does what they say; answers the exit status.
int runProgram(int argc, char** argv);

} // namespace cadencora::stage
