#include "cache/volume/ChunkDecompressor.h"
