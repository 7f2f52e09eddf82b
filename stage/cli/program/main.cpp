// The headless program, cadencora.

#include "stage/cli/arguments.h"

int main(int argc, char** argv) {
    return cadencora::stage::runProgram(argc, argv);
}
