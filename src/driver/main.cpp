// Entry of the nurex command.
#include "driver/run.h"

int main(int argc, char** argv) { return nurex::runMain(argc, argv); }
