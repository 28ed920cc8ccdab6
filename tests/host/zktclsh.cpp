// A plain tclsh: the test suites run in it so that the sanitizer build has
// a host program that carries the sanitizer runtime.
#include <tcl.h>

static int appInit(Tcl_Interp* interp) { return Tcl_Init(interp); }

int main(int argc, char** argv) {
    Tcl_Main(argc, argv, appInit);
    return 0;
}
