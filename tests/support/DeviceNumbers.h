// `makedev`, wherever the system keeps it.
#pragma once

#include <sys/types.h>
#ifdef __linux__
#include <sys/sysmacros.h>
#endif
