#pragma once

#include "base/LateLibrary.h"

#include <oneapi/dnnl/dnnl.h>

/// oneDNN, which is opened when the engine first calculates: it is the largest library, and most starts never need it.
/// Its C++ header calls the functions of its C interface by these names. What it calls beyond them is "undefined" to
/// the linker, and is to be added here.
namespace dnnl {

extern const char oneDnnLibrary[];

#define FENLO_ONEDNN(name) FENLO_LATE_FUNCTION(oneDnnLibrary, name)
FENLO_ONEDNN(dnnl_engine_create);
FENLO_ONEDNN(dnnl_engine_destroy);
FENLO_ONEDNN(dnnl_get_effective_cpu_isa);
FENLO_ONEDNN(dnnl_matmul_desc_init);
FENLO_ONEDNN(dnnl_memory_create);
FENLO_ONEDNN(dnnl_memory_desc_get_size);
FENLO_ONEDNN(dnnl_memory_desc_init_by_strides);
FENLO_ONEDNN(dnnl_memory_desc_init_by_tag);
FENLO_ONEDNN(dnnl_memory_destroy);
FENLO_ONEDNN(dnnl_memory_get_data_handle);
FENLO_ONEDNN(dnnl_memory_get_engine);
FENLO_ONEDNN(dnnl_memory_get_memory_desc);
FENLO_ONEDNN(dnnl_post_ops_append_eltwise);
FENLO_ONEDNN(dnnl_post_ops_append_sum);
FENLO_ONEDNN(dnnl_post_ops_create);
FENLO_ONEDNN(dnnl_post_ops_destroy);
FENLO_ONEDNN(dnnl_primitive_attr_create);
FENLO_ONEDNN(dnnl_primitive_attr_destroy);
FENLO_ONEDNN(dnnl_primitive_attr_set_post_ops);
FENLO_ONEDNN(dnnl_primitive_attr_set_scratchpad_mode);
FENLO_ONEDNN(dnnl_primitive_create);
FENLO_ONEDNN(dnnl_primitive_desc_destroy);
FENLO_ONEDNN(dnnl_primitive_desc_iterator_create);
FENLO_ONEDNN(dnnl_primitive_desc_iterator_destroy);
FENLO_ONEDNN(dnnl_primitive_desc_iterator_fetch);
FENLO_ONEDNN(dnnl_primitive_desc_query_md);
FENLO_ONEDNN(dnnl_primitive_destroy);
FENLO_ONEDNN(dnnl_primitive_execute);
FENLO_ONEDNN(dnnl_reorder_primitive_desc_create);
FENLO_ONEDNN(dnnl_set_max_cpu_isa);
FENLO_ONEDNN(dnnl_stream_create);
FENLO_ONEDNN(dnnl_stream_destroy);
FENLO_ONEDNN(dnnl_stream_wait);
FENLO_ONEDNN(dnnl_version);
#undef FENLO_ONEDNN

} // namespace dnnl

#include <oneapi/dnnl/dnnl.hpp> // IWYU pragma: export
