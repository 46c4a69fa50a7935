#include "base/deadline.h"

int milliseconds_of_a_second() { return 1000; }
