#include "hub/tokenizers/steps/Metaspace.h"

#include "hub/tokenizers/steps/Steps.h"

namespace fenlo::hub {

namespace {

Metaspace::Prepend readScheme(const JsonNode& node) {
    const std::string name = node.string();
    if (name == "always")
        return Metaspace::Prepend::always;
    if (name == "first")
        return Metaspace::Prepend::first;
    if (name == "never")
        return Metaspace::Prepend::never;
    node.refuse("is the unknown scheme " + inQuotes(name));
}

} // namespace

Metaspace Metaspace::read(const JsonNode& node) {
    Metaspace metaspace;
    metaspace.blank = filledText(node.member("replacement"));
    if (const JsonNode scheme = node.member("prepend_scheme"); !scheme.isNull())
        metaspace.scheme = readScheme(scheme);
    if (!node.member("add_prefix_space").boolean(true)) // how older files say it, some of them beside a scheme
        metaspace.scheme = Prepend::never;
    metaspace.splits = node.member("split").boolean(true);
    return metaspace;
}

} // namespace fenlo::hub
