#include "cache/volume/IntegrityChecker.h"
