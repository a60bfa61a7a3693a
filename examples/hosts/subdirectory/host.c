/* A C host that builds the library as part of its own CMake project. */
#include "../truss_check.h"

int main(void) { return truss_check("add_subdirectory host"); }
