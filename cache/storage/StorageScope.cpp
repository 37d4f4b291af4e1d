#include "cache/storage/StorageScope.h"
