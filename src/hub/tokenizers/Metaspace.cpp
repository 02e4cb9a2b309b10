#include "hub/tokenizers/Metaspace.h"

#include "hub/tokenizers/Steps.h"

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
    metaspace.blank = shortText(node.member("replacement"));
    if (metaspace.blank.empty())
        node.member("replacement").fail("is empty");
    if (const JsonNode scheme = node.member("prepend_scheme"); !scheme.isNull())
        metaspace.scheme = readScheme(scheme);
    else if (!node.member("add_prefix_space").boolean(true)) // how older files say it
        metaspace.scheme = Prepend::never;
    metaspace.splits = node.member("split").boolean(true);
    return metaspace;
}

} // namespace fenlo::hub
