// Every way through the product that is tortured.
#pragma once

#include <vector>

#include "tests/torture/torture.h"

std::vector<Flow> AllFlows();
