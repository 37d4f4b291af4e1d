#include "cache/volume/VolumeCacheReader.h"
