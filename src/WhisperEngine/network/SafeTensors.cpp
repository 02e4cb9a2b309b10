#include "WhisperEngine/network/SafeTensors.h"

#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/ModelJson.h"
#include "WhisperEngine/runtime/HalfFloat.h"
#include "base/Json.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <nlohmann/json.hpp>
#include <optional>

namespace fenlo::whisper {

using nlohmann::json;

namespace {

static_assert(std::endian::native == std::endian::little, "the file's numbers are read as they lie");

constexpr std::size_t lengthField = 8;
constexpr std::uint64_t longestHeader = 8 << 20; // bytes; some hundred thousand in the largest published models
constexpr std::size_t mostDimensions = 8;

struct Element {
    SafeTensors::Type type = SafeTensors::Type::other;
    std::uint64_t size = 0; // bytes; 0 where it is not known
};

Element elementOf(const std::string& dtype) {
    if (dtype == "F16")
        return {SafeTensors::Type::float16, 2};
    if (dtype == "BF16")
        return {SafeTensors::Type::bfloat16, 2};
    if (dtype == "F32")
        return {SafeTensors::Type::float32, 4};
    return {};
}

std::optional<std::uint64_t> product(const std::vector<std::uint64_t>& factors, std::uint64_t start) {
    for (const std::uint64_t factor : factors)
        if (__builtin_mul_overflow(start, factor, &start))
            return {};
    return start;
}

/// An array of integers of zero and more.
std::optional<std::vector<std::uint64_t>> numbers(const json& entry, const char* key) {
    const auto found = entry.find(key);
    if (found == entry.end() || !found->is_array() || found->size() > mostDimensions)
        return {};
    std::vector<std::uint64_t> result;
    for (const json& number : *found) {
        if (!number.is_number_unsigned())
            return {};
        result.push_back(number.get<std::uint64_t>());
    }
    return result;
}

SafeTensors::Tensor readEntry(const json& entry, std::span<const std::byte> data, const std::string& what) {
    const bool typed = entry.is_object() && entry.contains("dtype") && entry["dtype"].is_string();
    const auto shape = typed ? numbers(entry, "shape") : std::nullopt;
    const auto offsets = typed ? numbers(entry, "data_offsets") : std::nullopt;
    if (!shape || !offsets || offsets->size() != 2)
        throw ModelDamage(what + " has no type, shape and range");
    const std::uint64_t begin = (*offsets)[0], end = (*offsets)[1];
    if (begin > end || end > data.size())
        throw ModelDamage(what + " lies outside the file, which may be cut short");
    const Element element = elementOf(entry["dtype"].get<std::string>());
    if (element.size != 0 && product(*shape, element.size) != end - begin)
        throw ModelDamage(what + " has a length that its shape does not give");
    return {element.type, *shape, data.subspan(begin, end - begin)};
}

void refuseOverlaps(const std::map<std::string, SafeTensors::Tensor>& tensors, const std::string& name) {
    std::vector<std::span<const std::byte>> ranges;
    for (const auto& [key, tensor] : tensors)
        if (!tensor.data.empty())
            ranges.push_back(tensor.data);
    std::ranges::sort(ranges, {}, [](const auto& range) { return range.data(); });
    for (std::size_t i = 1; i < ranges.size(); ++i)
        if (ranges[i].data() < ranges[i - 1].data() + ranges[i - 1].size())
            throw ModelDamage(name + " has tensors that overlap");
}

} // namespace

std::span<const std::byte> SafeTensors::head(std::span<const std::byte> bytes, const std::string& name) {
    std::uint64_t length = 0;
    if (bytes.size() < lengthField)
        throw ModelDamage(name + " is too short for a checkpoint");
    std::memcpy(&length, bytes.data(), lengthField);
    if (length > longestHeader || length > bytes.size() - lengthField)
        throw ModelDamage(name + " is cut short or not a checkpoint");
    return bytes.first(lengthField + length);
}

SafeTensors::SafeTensors(std::span<const std::byte> bytes, const std::string& name) {
    const auto header = head(bytes, name);
    const auto data = bytes.subspan(header.size());
    const std::string_view text{reinterpret_cast<const char*>(header.data()) + lengthField,
                                header.size() - lengthField};
    const json document = parseModelJson(text, "The header of " + name);
    for (const auto& [key, entry] : document.items())
        if (key != "__metadata__")
            m_tensors.emplace(key, readEntry(entry, data, name + ": tensor " + quoteJson(key)));
    refuseOverlaps(m_tensors, name);
}

const SafeTensors::Tensor* SafeTensors::find(const std::string& tensor) const {
    const auto found = m_tensors.find(tensor);
    return found == m_tensors.end() ? nullptr : &found->second;
}

void widen(const SafeTensors::Tensor& tensor, std::size_t first, std::span<float> dst) {
    if (tensor.type == SafeTensors::Type::float32) {
        std::memcpy(dst.data(), tensor.data.data() + first * sizeof(float), dst.size_bytes());
        return;
    }
    // Data starts at any byte, so that each number is copied out.
    const std::byte* source = tensor.data.data() + first * sizeof(std::uint16_t);
    const bool brain = tensor.type == SafeTensors::Type::bfloat16;
    for (float& value : dst) {
        std::uint16_t half = 0;
        std::memcpy(&half, source, sizeof half);
        source += sizeof half;
        value = brain ? floatFromBrainHalf(half) : floatFromHalf(half);
    }
}

} // namespace fenlo::whisper
