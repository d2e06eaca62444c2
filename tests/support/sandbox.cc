#include "sandbox.h"
