#include "pipeline/context.h"

#include <dlfcn.h>

#include <cstdlib>
#include <limits>
#include <utility>

#include "pipeline/algo_context.h"
#include "support/log.h"
#include "support/timing_line.h"
#include "vantro/bounded.h"

namespace vantro {

const HandleFamily kVideoFamily = {
    .init_name = "Vantro_Init",
    .deinit_name = "Vantro_Deinit",
    .call_level = ANDROID_LOG_INFO,
    .call_tag = kTagVideo,
    .no_pool_tag = kTagPlain,
    .not_open = "cxt_ptr is null,Vantro_Deinit is failed\n",
    .progress_level = ANDROID_LOG_DEBUG,
    .progress_tag = kTagVideo,
    .printlog_property = "vendor.qzVantro.printlog",
    .dump_property = "vendor.qzVantro.isDumpImg",
    .box_vantro_name = "init_box_vantro",
    .engine = {.create_mode = VANTRO_SEG_VIDEO,
               .symbols_found = "dlsym\tlibPlimra.so success\n",
               .created = "_LINK_SegPlimra_Creat success\tSeg_OUTPUT_W=%d, Seg_OUTPUT_H=%d\n",
               .no_interface = "cxt_ptr->algoInterface is malloc failed!\n"},
};

const HandleFamily kPhotoFamily = {
    .init_name = "VantroPhoto_Init",
    .deinit_name = "VantroPhoto_Deinit",
    .call_level = ANDROID_LOG_ERROR,
    .call_tag = kTagPhoto,
    .no_pool_tag = kTagVideo,
    .not_open = "cxt_ptr is null,VantroPhoto_Deinit is falied\n",
    .progress_level = ANDROID_LOG_ERROR,
    .progress_tag = kTagPhoto,
    .printlog_property = "vendor.qzVantroPhoto.printlog",
    .dump_property = "vendor.qzVantroPhoto.isDumpImg",
    .box_vantro_name = "box_vantro",
    .engine = {.create_mode = VANTRO_SEG_PHOTO,
               .symbols_found = "dlsym  libPlimra.so success\n",
               .created = "_LINK_SegPlimra_Creat success  Seg_OUTPUT_W=%d, Seg_OUTPUT_H=%d\n",
               .no_interface = "cxt_ptr->algoInterface  ERROR\n"},
};

namespace {

// A switch is on when its property's value begins with the digit 1.
int32_t ReadSwitch(const char* property) {
  char value[PROP_VALUE_MAX] = {};
  const bool on = __system_property_get(property, value) > 0 && value[0] == '1';
  VANTRO_LOGD(kTagVideo, "--- DEBUG ---get %s debug flag mask %d", property, on ? 1 : 0);
  return on ? 1 : 0;
}

// The engine may read a box before it has written it for the first time.
CROP_BOX* AllocBox(MemPool* pool, const char* name) {
  return static_cast<CROP_BOX*>(AllocZeroed(pool, sizeof(CROP_BOX), name));
}

// Releases a buffer that the context owns, if it holds one.
template <typename T>
void Release(MemPool* pool, T*& block, const char* name) {
  if (block != nullptr) pool->free(std::exchange(block, nullptr), name, 0);
}

void CloseLibrary(VantroContext& cxt) {
  if (cxt.dl_handle != nullptr) dlclose(std::exchange(cxt.dl_handle, nullptr));
}

void LogCall(const HandleFamily& family, const char* name) {
  __android_log_print(family.call_level, family.call_tag, "%s VERSION_is %s ", name, kVersion);
}

void FreeContext(VantroContext* cxt) {
  // A stale handle is refused as long as the heap keeps the block as it is. The compiler would drop
  // a plain store before the block goes.
  *const_cast<volatile uint32_t*>(&cxt->magic) = 0;
  std::free(cxt);
}

}  // namespace

int32_t CheckInit(const HandleFamily& family, void** handle_kc, const char* xml_name,
                  const MemPool* pool) {
  LogCall(family, family.init_name);
  if (handle_kc != nullptr) *handle_kc = nullptr;
  if (handle_kc == nullptr || xml_name == nullptr) {
    VANTRO_LOGE(family.call_tag, "%s input error!, xml_name(%p), handle_kc(%p)", family.init_name,
                static_cast<const void*>(xml_name), static_cast<void*>(handle_kc));
    return VANTRO_ERR_FAILED;
  }
  if (pool == nullptr || pool->alloc == nullptr || pool->free == nullptr) {
    VANTRO_LOGE(family.no_pool_tag, "[vantro] Vantro_Init mempool err!");
    return VANTRO_ERR_INPUT;
  }
  return VANTRO_OK;
}

VantroContext* HandleToClose(const HandleFamily& family, void** handle) {
  LogCall(family, family.deinit_name);
  VantroContext* cxt = handle == nullptr ? nullptr : OpenHandle(*handle, family);
  if (cxt == nullptr) VANTRO_LOGE(kTagVideo, "%s", family.not_open);
  return cxt;
}

VantroContext* OpenContext(const HandleFamily& family, MemPool* pool, int32_t* result) {
  auto* cxt = static_cast<VantroContext*>(std::malloc(sizeof(VantroContext)));
  if (cxt == nullptr) {
    VANTRO_LOGE(kTagVideo, "Vantro_Init cxt malloc fail!!");
    *result = VANTRO_ERR_OPEN;
    return nullptr;
  }
  memset_s(cxt, sizeof(*cxt), 0, sizeof(*cxt));
  cxt->family = &family;
  cxt->printlog = ReadSwitch(family.printlog_property);
  cxt->isDumpImg = ReadSwitch(family.dump_property);
  cxt->magic = kContextMagic;

  *result = VANTRO_ERR_INPUT;
  cxt->box = AllocBox(pool, "init_box");
  if (cxt->box == nullptr) {
    VANTRO_LOGE(kTagVideo, "[vantro] Vantro_Init cxt_ptr->box err!");
    FreeContext(cxt);
    return nullptr;
  }
  cxt->box_vantro = AllocBox(pool, family.box_vantro_name);
  if (cxt->box_vantro == nullptr) {
    Release(pool, cxt->box, "init_box");
    FreeContext(cxt);
    VANTRO_LOGE(kTagVideo, "[vantro] Vantro_Init cxt_ptr->box_vantro err!");
    return nullptr;
  }
  *result = VANTRO_OK;
  return cxt;
}

bool OpenAlgorithm(VantroContext& cxt, MemPool* pool) {
  ParamBlock params = BuiltInParams();
  cxt.algo_cxt = BuildAlgoCxt(&params, pool);
  return cxt.algo_cxt != nullptr && BindEngine(cxt, pool);
}

void* AllocZeroed(MemPool* pool, uint32_t size, const char* name) {
  void* const block = pool->alloc(size, name, 0);
  if (block != nullptr) memset_s(block, size, 0, size);
  return block;
}

uint8_t* AllocMask(const VantroContext& cxt, MemPool* pool, const char* name) {
  if (cxt.Seg_OUTPUT_W < 0 || cxt.Seg_OUTPUT_H < 0) return nullptr;
  const int64_t size = int64_t{cxt.Seg_OUTPUT_W} * cxt.Seg_OUTPUT_H;
  if (size > std::numeric_limits<int32_t>::max()) return nullptr;
  // An engine that fails leaves its mask as it is, and nobody is in the picture until one was
  // found.
  return static_cast<uint8_t*>(AllocZeroed(pool, static_cast<uint32_t>(size), name));
}

void DestroyEngine(VantroContext& cxt, const char* timing_label, bool write_timing) {
  const Moment start = Now();
  const int32_t result = cxt.LINK_SegPlimra_Destroy(cxt.seg_handle);
  cxt.engine_alive = false;
  if (write_timing) WriteTimingLine(timing_label, start);
  if (result != 0) VANTRO_LOGE(kTagVideo, "cxt_ptr->LINK_SegPlimra_Destroy is error\n");
}

void UnwindContext(VantroContext* cxt, MemPool* pool) {
  Release(pool, cxt->move_flag, "move_flag");
  Release(pool, cxt->flash_flag, "flash_flag");
  Release(pool, cxt->allocated_as_last_mask, "lastMask");
  Release(pool, cxt->allocated_as_mask, "mask");
  if (cxt->engine_alive) DestroyEngine(*cxt, "", false);
  Release(pool, cxt->algoInterface, "cxt_ptr->algoInterface");
  CloseLibrary(*cxt);
  DestroyAlgoCxt(std::exchange(cxt->algo_cxt, nullptr));
  if (cxt->th_pool != nullptr) MThread_Destroy(std::exchange(cxt->th_pool, nullptr));
  Release(pool, cxt->box, "init_box");
  Release(pool, cxt->box_vantro, cxt->family->box_vantro_name);
  FreeContext(cxt);
}

void CloseAlgorithm(VantroContext& cxt) {
  CloseLibrary(cxt);
  DestroyAlgoCxt(std::exchange(cxt.algo_cxt, nullptr));
}

void CloseBuffers(VantroContext* cxt) {
  MemPool* pool = cxt->algoInterface->pool;
  Release(pool, cxt->allocated_as_last_mask, "lastMask");
  Release(pool, cxt->allocated_as_mask, "mask");
  Release(pool, cxt->box_vantro, cxt->family->box_vantro_name);
  Release(pool, cxt->box, "init_box");
  Release(pool, cxt->flash_flag, "flash_flag");
  Release(pool, cxt->move_flag, "move_flag");
  Release(pool, cxt->area, "area");
  Release(pool, cxt->firstFrameIdxTempYuv, "firstFrameIdxTempYuv");
  Release(pool, cxt->algoInterface, "cxt_ptr->algoInterface");
  FreeContext(cxt);
}

VantroContext* OpenHandle(void* handle, const HandleFamily& family) {
  auto* cxt = static_cast<VantroContext*>(handle);
  if (cxt == nullptr || cxt->magic != kContextMagic || cxt->family != &family) return nullptr;
  return cxt;
}

bool IsUsableFrame(const Vantro_t* kc_para) {
  return kc_para != nullptr && kc_para->yuv != nullptr && kc_para->width >= 2 &&
         kc_para->height > 1;
}

int RegionPercent(const AlgoCxt& algo) {
  constexpr int kTypes = sizeof(algo.tuning.conn_param) / sizeof(algo.tuning.conn_param[0]);
  const int type = algo.subject_type;
  return algo.tuning.conn_param[type >= 1 && type <= kTypes ? type - 1 : 0];
}

}  // namespace vantro
