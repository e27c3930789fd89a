// What the handles need of the algorithm context beside the exported BuildAlgoCxt.
#ifndef VANTRO_PIPELINE_ALGO_CONTEXT_H_
#define VANTRO_PIPELINE_ALGO_CONTEXT_H_

#include "vantro/algo_context.h"

namespace vantro {

// The built-in tuning values; no tuning file is read.
ParamBlock BuiltInParams();

// Releases the context and its crop-size mask, if any, through its own pool. Does nothing with a
// null context or one without its magic.
void DestroyAlgoCxt(AlgoCxt* cxt);

}  // namespace vantro

#endif  // VANTRO_PIPELINE_ALGO_CONTEXT_H_
