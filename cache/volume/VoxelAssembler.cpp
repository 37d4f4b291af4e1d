#include "cache/volume/VoxelAssembler.h"
