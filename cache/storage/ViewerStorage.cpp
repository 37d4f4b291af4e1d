#include "cache/storage/ViewerStorage.h"
