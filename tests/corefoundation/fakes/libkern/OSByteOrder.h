#pragma once

#include <endian.h>

#define OSSwapBigToHostInt32(number) be32toh(number)
#define OSSwapHostToBigInt32(number) htobe32(number)
