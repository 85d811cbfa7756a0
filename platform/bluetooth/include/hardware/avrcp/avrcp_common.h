#pragma once

#include <set>

#include <base/sys_byteorder.h>

// Home of the AVRCP protocol constants; nothing in the HAL surface built here
// uses them.
