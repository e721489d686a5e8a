#pragma once

// For sources that do not name the headers of support/ yet.

#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"
#include "support/Stress.hpp"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <utility>
