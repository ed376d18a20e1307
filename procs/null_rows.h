// Rows of the null reader and the null writer, many cells at a time.
#pragma once

class ZRBBufReader;
class ZRBBufWriter;

// Writes chunk rows 0..rows - 1: in row i, column c holds rowsDone + i + c, as from setConvertDouble for each cell.
// REQUIRES: isOwnEnd(writer).
void setNullRows(ZRBBufWriter& writer, long long rowsDone, long rows);

// Loads every cell of chunk rows 0..rows - 1, as getDouble does; texts are converted, which a host's converter may see.
// REQUIRES: isOwnEnd(reader).
void loadRows(ZRBBufReader& reader, long rows);
