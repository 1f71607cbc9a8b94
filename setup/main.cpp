// The program's entry.

#include "SetupDriver.h"

int main(int argc, char* argv[]) {
    return RunSetup(argc, argv);
}
