#include "vantro/algo_context.h"

#include "pipeline/algo_context.h"
#include "render/contrast_curve.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

constexpr VantroTuning kBuiltInTuning = {
    0.8f,   {0.6f, 0.4f, 0.5f},       {0.5f, 0.5f, 0.5f, 0.5f, 1.0f, 0.5f, 0.5f, 0.5f, 0.5f},
    0.005f, {0.005f, 0.005f, 0.005f}, {5, 5, 5, 5, 5, 20},
};

}  // namespace

ParamBlock BuiltInParams() {
  ParamBlock params;
  memset_s(&params, sizeof(params), 0, sizeof(params));
  memcpy_s(&params.tuning, sizeof(params.tuning), &kBuiltInTuning, sizeof(kBuiltInTuning));
  return params;
}

void DestroyAlgoCxt(AlgoCxt* cxt) {
  if (cxt == nullptr || cxt->magic != kAlgoCxtMagic) return;
  MemPool* pool = cxt->pool;
  if (cxt->maskup != nullptr) pool->free(cxt->maskup, "cxt->maskup", 0);
  cxt->magic = 0;
  pool->free(cxt, "init_cxt", 0);
}

}  // namespace vantro

AlgoCxt* BuildAlgoCxt(ParamBlock* params, MemPool* pool) {
  if (params == nullptr || pool == nullptr || pool->alloc == nullptr) return nullptr;
  auto* cxt = static_cast<AlgoCxt*>(pool->alloc(sizeof(AlgoCxt), "init_cxt", 0));
  if (cxt == nullptr) return nullptr;
  memset_s(cxt, sizeof(*cxt), 0, sizeof(*cxt));
  cxt->pool = pool;
  cxt->magic = kAlgoCxtMagic;
  memcpy_s(&cxt->tuning, sizeof(cxt->tuning), &params->tuning, sizeof(params->tuning));
  memcpy_s(cxt->contrastTable, sizeof(cxt->contrastTable), vantro::kBuiltInCurve.data(),
           vantro::kBuiltInCurve.size());
  return cxt;
}
