// The work of fe_srif, for stacks with fewer rows than columns too.
#pragma once

// As fe_srif, but below the diagonal only rows before `rowsOfR` become 0.
void triangularise(double* a, long rows, long columns, double tolerance, double* b, long& info, long rowsOfR);
