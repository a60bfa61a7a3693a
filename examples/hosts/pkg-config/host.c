/* A C host built with the flags of pkg-config (see README.md):
 *   cc host.c $(pkg-config --cflags --libs stabletime) */
#include "../truss_check.h"

int main(void) { return truss_check("pkg-config host"); }
