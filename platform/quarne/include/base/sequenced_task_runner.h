#pragma once

#include "base/task_runner.h"
