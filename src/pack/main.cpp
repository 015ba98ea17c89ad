#include "pack/packer.h"

int main(int argc, char** argv) {
    return Pack::runPacker(argc, argv);
}
