// The desktop program, cadencora-desktop.

#include "stage/desktop/app/program.h"

int main(int argc, char** argv) {
    return cadencora::stage::runDesktop(argc, argv);
}
