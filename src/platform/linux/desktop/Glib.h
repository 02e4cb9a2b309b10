#pragma once

#include <gio/gio.h>
#include <memory>
#include <string>

namespace fenlo {

struct GlibFree {
    void operator()(char* text) const { g_free(text); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
    void operator()(GError* error) const { g_error_free(error); }
};

struct GlibUnref {
    void operator()(void* object) const { g_object_unref(object); }
};

/// Memory that GLib hands out, freed with its owner.
template <typename T>
using GlibOwned = std::unique_ptr<T, GlibFree>;

/// A GObject of any class.
template <typename T>
using GlibObject = std::unique_ptr<T, GlibUnref>;

/// The text, or the empty one for a null pointer. Frees what was given.
inline std::string takeString(char* text) {
    const GlibOwned<char> owned(text);
    return text ? text : "";
}

} // namespace fenlo
