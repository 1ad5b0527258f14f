// A program's operator new that fails where the program says so: support/failing_new.cc among its sources replaces
// the standard library's.
#pragma once

// Asked for each allocation, by whichever thread makes it: whether it fails. To be defined by the program; allocates
// nothing itself.
bool allocationFails();
