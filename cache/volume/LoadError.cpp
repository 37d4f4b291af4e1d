#include "cache/volume/LoadError.h"
