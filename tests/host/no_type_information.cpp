// A host's node whose class has no type information: this source is compiled with -fno-rtti.
#include "ZRBProc.h"

namespace {

class PlainNode : public ZRBProc {
public:
  explicit PlainNode(int done) {
    init();
    setDone(done);
  }
  int init() override { return hasError(); }  // stays as it is made
};

}  // namespace

ZRBProc* newNodeWithoutTypeInformation(int done) {
  ZRBProc* const node = new PlainNode(done);
  node->clearMessages();
  return node;
}
