// A text on its way into a cell.
#pragma once

class ZRBBuf;

// Stores a text in a cell of `width` bytes, cut to the width less the terminator; a text that was cut is counted in its
// column, and the first one reported on request.
void storeStringCell(const char* text, char* cell, long width, ZRBBuf& buf, long column);
