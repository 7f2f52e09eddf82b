// What the headless program answers to its caller.
#pragma once

namespace cadencora::stage {

enum ExitStatus : int {
    exitDone = 0,
    exitFailed = 1, // the toolbox reported an error, or an input or output failed
    exitUsage = 2   // wrong arguments: an option, a button, a label, an item, a value
};

} // namespace cadencora::stage
