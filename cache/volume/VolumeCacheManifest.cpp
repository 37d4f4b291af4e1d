#include "cache/volume/VolumeCacheManifest.h"
