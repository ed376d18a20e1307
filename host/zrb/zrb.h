// The host kit: everything that makes the library pleasant to use from C++.  Headers only, no part of the library.
//
//   handle.h     owning handles over the factories
//   property.h   typed properties
//   run.h        error checks, running a pipeline to its end
//   node.h       nodes of the host's own, and column.h, typed views of the columns they read and write
//   least_squares.h  the linear model node with what standard errors need
//   converter.h  numbers and dates as text, on number_text.h and iso_date.h
//   error.h      what all of them throw
#pragma once

#include "zrb/column.h"
#include "zrb/converter.h"
#include "zrb/error.h"
#include "zrb/handle.h"
#include "zrb/iso_date.h"
#include "zrb/least_squares.h"
#include "zrb/node.h"
#include "zrb/number_text.h"
#include "zrb/property.h"
#include "zrb/run.h"
#include "zrbbase.h"
