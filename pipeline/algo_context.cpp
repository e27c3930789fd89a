#include "vantro/algo_context.h"

#include "pipeline/algo_context.h"
#include "vantro/bounded.h"

namespace vantro {
namespace {

constexpr VantroTuning kBuiltInTuning = {
    0.8f,   {0.6f, 0.4f, 0.5f},       {0.5f, 0.5f, 0.5f, 0.5f, 1.0f, 0.5f, 0.5f, 0.5f, 0.5f},
    0.005f, {0.005f, 0.005f, 0.005f}, {5, 5, 5, 5, 5, 20},
};

// Luma contrast curve: compresses the dark end 0..25 into 0..5, stretches 26..229 over 6..249 and
// compresses the bright end 230..255 into 250..255.
uint8_t ContrastOf(int luma) {
  const float v = static_cast<float>(luma);
  float g = 0.0f;
  if (luma <= 25) {
    g = (v * 5.0f) / 25.0f;
  } else if (luma <= 229) {
    g = ((v - 25.0f) * 245.0f) / 205.0f + 5.0f;
  } else {
    g = ((v - 255.0f + 25.0f) * 5.0f) / 25.0f + 250.0f;
  }
  return static_cast<uint8_t>(g + 0.5f);
}

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
  for (int luma = 0; luma < 256; ++luma) cxt->contrastTable[luma] = vantro::ContrastOf(luma);
  return cxt;
}
