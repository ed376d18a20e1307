// Which regressors of a design are the columns of the model, how they are called, and which are left out from the start.
//
// A design has a regressor for every level of a factor; the model, which has an intercept, needs one less.  Treatment
// contrasts: the column of the factor's first level (numbers by size, other texts by their bytes) is left out, so that
// the other levels' coefficients are differences from it.  In a term of several columns a factor keeps all its levels if
// the model lacks the term without it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "design_node.h"
#include "fit.h"
#include "formula.h"

namespace zrbtool {

struct ModelColumn {
  std::size_t regressor;
  std::string name;
};

struct ModelColumns {
  std::vector<ModelColumn> columns;  // by term; the first factor's levels vary fastest
  std::vector<DroppedPart> dropped;
  std::vector<BaseLevel> baseLevels;
};

// `table` holds the formula's columns, as the node's input did.
ModelColumns modelColumns(const Formula& formula, const DesignNode& design, ZRBBuf& table);

}  // namespace zrbtool
