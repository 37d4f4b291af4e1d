#include "cache/volume/VolumeCacheWriter.h"
