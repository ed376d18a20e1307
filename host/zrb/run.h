// Visiting the parts of a pipeline, checking objects for errors, and running a pipeline to its end.
#pragma once

#include <string>

#include "zrb/error.h"
#include "zrb/node.h"
#include "zrb/property.h"
#include "zrbbase.h"

namespace zrb {

// Throws ObjectError with all messages of the object, oldest first, if it has an error.
inline void check(ZRBObj& object) {
  if (!get<bool>(object, "has.error")) return;
  std::string text = describeObject(object);
  const long messages = get<long>(object, "num.messages");
  for (long i = 0; i < messages; ++i)
    text.append(i == 0 ? ": " : "; ")
        .append(get<std::string>(object, "severity", i))
        .append(": ")
        .append(get<std::string>(object, "message", i));
  throw ObjectError(text);
}

// Calls visit(buf) with every buffer of the pipeline, in the order they were added.
template <class Visit>
void forEachBuf(ZRBPipeline& pipeline, Visit visit) {
  const long bufs = get<long>(pipeline, "get.num.bufs");
  for (long i = 0; i < bufs; ++i)
    if (ZRBBuf* const buf = get<ZRBBuf*>(pipeline, "get.buf.by.number", i)) visit(*buf);
}

// Calls visit(node) with every node of the pipeline, in the order they were added.
template <class Visit>
void forEachNode(ZRBPipeline& pipeline, Visit visit) {
  const long nodes = get<long>(pipeline, "get.num.procs");
  for (long i = 0; i < nodes; ++i)
    if (ZRBProc* const node = get<ZRBProc*>(pipeline, "get.proc.by.number", i)) visit(*node);
}

// Throws if a node or buffer of the pipeline, or the pipeline itself, has an error.  What a node of the kit (node.h)
// threw comes first, as it was thrown.
inline void checkAll(ZRBPipeline& pipeline) {
  forEachNode(pipeline, [](ZRBProc& node) {
    if (!detail::hasTypeInformation(node)) return;  // no node of the kit
    if (auto* own = dynamic_cast<Node*>(&node)) own->rethrowFailure();
  });
  forEachBuf(pipeline, [](ZRBBuf& buf) { check(buf); });
  forEachNode(pipeline, [](ZRBProc& node) { check(node); });
  check(pipeline);
}

// Initialises the pipeline and runs it until every node is done.  Throws as checkAll does, and Error when the pipeline
// comes to rest before a node is done (a buffer that is too small, an input that nothing fills).
inline void run(ZRBPipeline& pipeline) {
  set(pipeline, "init");
  checkAll(pipeline);
  set(pipeline, "execute", 0);
  checkAll(pipeline);
  forEachNode(pipeline, [](ZRBProc& node) {
    if (!get<bool>(node, "done"))
      throw Error(describeObject(node) + " is not done, and waits for rows or for room that nobody provides");
  });
}

}  // namespace zrb
