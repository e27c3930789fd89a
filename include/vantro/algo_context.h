// The algorithm context: the first argument of every exported stage. For C++17 and later only.
#ifndef VANTRO_ALGO_CONTEXT_H_
#define VANTRO_ALGO_CONTEXT_H_

#include <cstddef>
#include <cstdint>

#include "vantro/export.h"
#include "vantro/vantro.h"

// Built-in tuning values. The unnamed slots are kept for their place in the record; no stage reads
// them.
struct VantroTuning {
  float weight_scale;  // weight of one subject pixel in GetSubject
  float unused0[3];
  float grid_weight[9];  // 3x3 weights over the frame in GetSubject, row by row
  float area_ratio;      // smallest share of the frame a subject must cover (GetROI)
  float unused1[3];
  int32_t conn_param[6];  // region filter percentage of subject type t at index t - 1
};

// What Init fills before it builds the context.
struct ParamBlock {
  int32_t reserved;  // always 0
  VantroTuning tuning;
};

// 520 bytes, taken from the caller's pool under the name "init_cxt".
struct AlgoCxt {
  uint32_t magic;  // kAlgoCxtMagic while the context is alive
  VantroTuning tuning;
  int32_t roi_state;           // 0 after creation and reset, 4 no subject, 3 subject found
  int32_t subject_type;        // 1 (person) once GetROI found a subject
  uint8_t* maskup;             // crop-size mask of VantroObject; null between calls
  int32_t maskupwidth;         // columns of the last crop-size mask
  int32_t maskupheight;        // rows of the last crop-size mask
  MemPool* pool;               // the caller's pool; stages take their scratch memory from it
  uint8_t contrastTable[256];  // luma contrast curve, constant after BuildAlgoCxt
  int32_t print_log;           // log switch of the last VantroObject call
  int32_t dump_img;            // dump switch of the last VantroObject call
  uint8_t reserved[128];       // zero
};

inline constexpr uint32_t kAlgoCxtMagic = 0xEAEAEA;

static_assert(sizeof(VantroTuning) == 92 && sizeof(ParamBlock) == 96);
static_assert(sizeof(AlgoCxt) == 520);

// Allocates a context from `pool` ("init_cxt"), zeroes it, copies the tuning values of `params` and
// fills the contrast table. The caller releases it through the same pool and name. Returns null,
// without a message, when the pool has no block.
VANTRO_API AlgoCxt* BuildAlgoCxt(ParamBlock* params, MemPool* pool);

#endif  // VANTRO_ALGO_CONTEXT_H_
