#include "WhisperEngine/network/CompiledFile.h"

#include "WhisperEngine/network/CompiledFormat.h"
#include "WhisperEngine/network/ModelFault.h"

#include <algorithm>
#include <bit>

namespace fenlo::whisper {

namespace {

static_assert(std::endian::native == std::endian::little, "the file's numbers are used as they lie");

template <class Number>
std::span<const Number> view(std::span<const std::byte> data) {
    return {reinterpret_cast<const Number*>(data.data()), data.size() / sizeof(Number)};
}

} // namespace

std::filesystem::path compiledPath(const std::filesystem::path& modelFolder, CompiledKind kind, ComputeUnit unit) {
    const char* name = kind == CompiledKind::melSpectrogram ? "MelSpectrogram"
                       : kind == CompiledKind::audioEncoder ? "AudioEncoder"
                                                            : "TextDecoder";
    return unit == ComputeUnit::float32 ? modelFolder / "float32" / name : modelFolder / name;
}

CompiledFile::CompiledFile(const std::filesystem::path& path) : m_name(path.string()), m_file(path) {
    parse(m_file->bytes());
}

CompiledFile::CompiledFile(std::span<const std::byte> bytes, const std::string& name) : m_name(name) {
    parse(bytes);
}

void CompiledFile::readAhead() const {
    if (m_file)
        m_file->readAhead();
}

void CompiledFile::refuse(const std::string& fault) const {
    throw ModelDamage(m_name + " " + fault, ". Compile the model again.");
}

void CompiledFile::parse(std::span<const std::byte> bytes) {
    compiled::Header header{};
    if (bytes.size() < sizeof header)
        refuse("is cut short");
    std::memcpy(&header, bytes.data(), sizeof header);
    if (std::memcmp(header.magic, compiled::magic, sizeof header.magic) != 0)
        refuse("is not a compiled model");
    if (header.version != compiled::version)
        refuse("was compiled by another version of the program");
    if (header.fileSize != bytes.size() || header.tensorCount > compiled::mostTensors ||
        bytes.size() < sizeof header + header.tensorCount * sizeof(compiled::Entry))
        refuse("is cut short");
    const auto table = bytes.first(sizeof header + header.tensorCount * sizeof(compiled::Entry));
    if (!std::ranges::equal(compiled::checksum(table), header.checksum))
        refuse("is damaged");
    if (header.kind < 1 || header.kind > 3 || header.unit > 1)
        refuse("is of an unknown kind");
    m_identity.kind = static_cast<CompiledKind>(header.kind);
    m_identity.unit = static_cast<ComputeUnit>(header.unit);
    m_identity.architecture = ModelArchitecture::fromNumbers(header.architecture, m_name);
    std::ranges::copy(header.fingerprint, m_identity.fingerprint.begin());

    for (std::uint32_t i = 0; i < header.tensorCount; ++i) {
        compiled::Entry entry{};
        std::memcpy(&entry, table.data() + sizeof header + i * sizeof entry, sizeof entry);
        const bool isFloat = entry.type == compiled::NumberType::float32;
        const bool known = isFloat || entry.type == compiled::NumberType::int8;
        if (!known || entry.name[sizeof entry.name - 1] != 0 || entry.dimensions < 1 || entry.dimensions > 2)
            refuse("has a damaged table");
        std::uint64_t size = isFloat ? sizeof(float) : 1;
        bool fits = true;
        for (std::uint32_t d = 0; d < entry.dimensions; ++d)
            fits = fits && !__builtin_mul_overflow(size, entry.shape[d], &size);
        if (!fits || size != entry.size || entry.offset % compiled::alignment != 0 || entry.offset > bytes.size() ||
            entry.size > bytes.size() - entry.offset)
            refuse("has a damaged table");
        m_tensors[entry.name] = {
            isFloat, {entry.shape, entry.shape + entry.dimensions}, bytes.subspan(entry.offset, entry.size)};
    }
}

const CompiledFile::Tensor& CompiledFile::find(const std::string& tensor, bool isFloat) const {
    const auto found = m_tensors.find(tensor);
    if (found == m_tensors.end() || found->second.isFloat != isFloat)
        refuse("lacks the tensor " + tensor);
    return found->second;
}

const CompiledFile::Tensor& CompiledFile::find(const std::string& tensor, bool isFloat,
                                               std::initializer_list<int> shape) const {
    const Tensor& found = find(tensor, isFloat);
    const bool same =
        std::ranges::equal(found.shape, shape, {}, {}, [](int n) { return static_cast<std::uint32_t>(n); });
    if (!same)
        refuse("has the tensor " + tensor + " in another shape");
    return found;
}

std::span<const float> CompiledFile::floats(const std::string& tensor, std::initializer_list<int> shape) const {
    return view<float>(find(tensor, true, shape).data);
}

std::span<const std::int8_t> CompiledFile::bytes(const std::string& tensor, std::initializer_list<int> shape) const {
    return view<std::int8_t>(find(tensor, false, shape).data);
}

std::span<const float> CompiledFile::rows(const std::string& tensor, int columns) const {
    const Tensor& found = find(tensor, true);
    if (found.shape.size() != 2 || found.shape[1] != static_cast<std::uint32_t>(columns))
        refuse("has the tensor " + tensor + " in another shape");
    return view<float>(found.data);
}

} // namespace fenlo::whisper
