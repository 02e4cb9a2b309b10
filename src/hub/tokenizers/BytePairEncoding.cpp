#include "hub/tokenizers/BytePairEncoding.h"

#include <algorithm>
#include <array>
#include <functional>
#include <queue>

namespace fenlo::hub {

namespace {

constexpr int none = -1;

int characterLength(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

std::string bytePiece(char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return std::string("<0x") + digits[value >> 4U] + digits[value & 15U] + '>';
}

} // namespace

/// A part of the word, in a chain that loses one of them with every merge.
struct BytePairEncoding::Symbol {
    int token;
    int previous = none;
    int next = none;
    const Merge* merge = nullptr; // with the next one
};

struct BytePairEncoding::Scratch {
    std::vector<Symbol> symbols;
    /// Rank and place in one number, so that the first merge is the best one, and of the same ones the leftmost.
    std::vector<std::uint64_t> queue;
};

BytePairEncoding::BytePairEncoding(const JsonNode& node, const TokenizerDocument& document) {
    if (const JsonNode type = node.member("type"); !type.isNull() && type.string() != "BPE")
        node.refuseType();
    node.allowOnly({"type", "vocab", "merges", "dropout", "unk_token", "continuing_subword_prefix",
                    "end_of_word_suffix", "fuse_unk", "byte_fallback", "ignore_merges"});
    for (const char* table : {"vocab", "merges"})
        if (!node.has(table) || !node.member(table).isNull()) // the document has taken them out
            node.member(table).fail("is missing or of a wrong form");
    if (const JsonNode dropout = node.member("dropout"); !dropout.isNull() && !dropout.isZero())
        dropout.refuse("asks for random merges");
    if (const JsonNode suffix = node.member("end_of_word_suffix"); !suffix.isNull() && !suffix.string().empty())
        suffix.refuse("is set");
    if (const JsonNode prefix = node.member("continuing_subword_prefix"); !prefix.isNull())
        m_continuingPrefix = prefix.string();
    if (const JsonNode unknown = node.member("unk_token"); !unknown.isNull()) {
        m_unknown = document.vocabulary.find(unknown.string());
        if (!m_unknown)
            unknown.fail("names the unknown piece " + inQuotes(unknown.string()));
    }
    m_fusesUnknown = node.member("fuse_unk").boolean(false);
    m_byteFallback = node.member("byte_fallback").boolean(false);
    m_ignoresMerges = node.member("ignore_merges").boolean(false);
    readMerges(node.member("merges"), document);
}

void BytePairEncoding::readMerges(const JsonNode& node, const TokenizerDocument& document) {
    m_merges.reserve(document.merges.size());
    for (const MergeText& merge : document.merges) {
        const std::string_view left = merge.left();
        const std::string_view right = merge.right();
        const auto failMerge = [&](const std::string& fault) {
            node.fail("has number " + std::to_string(m_merges.size()) + ", of " + inQuotes(left) + " and " +
                      inQuotes(right) + ", " + fault);
        };
        const auto idOf = [&](std::string_view piece) {
            const std::optional<int> id = document.vocabulary.find(piece);
            if (!id)
                failMerge("which needs " + inQuotes(piece) + ", no piece of the vocabulary");
            return *id;
        };
        if (!right.starts_with(m_continuingPrefix))
            failMerge("whose second piece lacks the prefix " + inQuotes(m_continuingPrefix));
        std::string_view result = merge.both;
        std::string withoutPrefix;
        if (!m_continuingPrefix.empty())
            result = withoutPrefix.assign(left).append(right.substr(m_continuingPrefix.size()));
        m_merges.push_back({idOf(left), idOf(right), static_cast<std::uint32_t>(m_merges.size()), idOf(result)});
    }

    const auto pair = [](const Merge& merge) { return std::pair(merge.left, merge.right); };
    std::ranges::sort(m_merges, {}, pair);
    if (const auto twin = std::ranges::adjacent_find(m_merges, {}, pair); twin != m_merges.end())
        node.fail("has " + inQuotes(*document.vocabulary.piece(twin->left)) + " and " +
                  inQuotes(*document.vocabulary.piece(twin->right)) + " twice");
    m_mergesOfLeft.assign(static_cast<std::size_t>(document.vocabulary.size()) + 1, 0);
    for (const Merge& merge : m_merges)
        ++m_mergesOfLeft[static_cast<std::size_t>(merge.left) + 1];
    for (std::size_t i = 1; i < m_mergesOfLeft.size(); ++i)
        m_mergesOfLeft[i] += m_mergesOfLeft[i - 1];
}

const BytePairEncoding::Merge* BytePairEncoding::mergeOf(int left, int right) const {
    const auto id = static_cast<std::size_t>(left);
    if (id + 1 >= m_mergesOfLeft.size()) // an added token of one character
        return nullptr;
    const std::span<const Merge> merges =
        std::span(m_merges).subspan(m_mergesOfLeft[id], m_mergesOfLeft[id + 1] - m_mergesOfLeft[id]);
    const auto found = std::ranges::lower_bound(merges, right, {}, &Merge::right);
    return found != merges.end() && found->right == right ? &*found : nullptr;
}

void BytePairEncoding::encode(std::span<const std::string> words, const Vocabulary& vocabulary,
                              std::vector<int>& tokens) const {
    Scratch scratch;
    for (const std::string& word : words) {
        if (m_ignoresMerges)
            if (const std::optional<int> whole = vocabulary.find(word)) {
                tokens.push_back(*whole);
                continue;
            }
        scratch.symbols.clear();
        splitCharacters(word, vocabulary, scratch.symbols);
        mergeSymbols(scratch);
        for (int at = scratch.symbols.empty() ? none : 0; at != none;
             at = scratch.symbols[static_cast<std::size_t>(at)].next)
            tokens.push_back(scratch.symbols[static_cast<std::size_t>(at)].token);
    }
}

void BytePairEncoding::splitCharacters(std::string_view word, const Vocabulary& vocabulary,
                                       std::vector<Symbol>& symbols) const {
    bool lastIsUnknown = false;
    std::string prefixed;
    for (std::size_t at = 0; at < word.size();) {
        const std::string_view character = word.substr(at, static_cast<std::size_t>(characterLength(word[at])));
        std::string_view piece = character;
        if (at > 0 && !m_continuingPrefix.empty())
            piece = prefixed.assign(m_continuingPrefix).append(character);
        at += character.size();
        if (const std::optional<int> token = vocabulary.find(piece)) {
            symbols.push_back({*token});
            lastIsUnknown = false;
        } else if (m_byteFallback && appendBytes(piece, vocabulary, symbols)) {
            lastIsUnknown = false;
        } else if (m_unknown) {
            if (!(lastIsUnknown && m_fusesUnknown))
                symbols.push_back({*m_unknown});
            lastIsUnknown = true;
        }
    }
}

bool BytePairEncoding::appendBytes(std::string_view character, const Vocabulary& vocabulary,
                                   std::vector<Symbol>& symbols) const {
    const std::size_t before = symbols.size();
    for (const char byte : character) {
        const std::optional<int> token = vocabulary.find(bytePiece(byte));
        if (!token) {
            symbols.erase(symbols.begin() + static_cast<std::ptrdiff_t>(before), symbols.end());
            return false;
        }
        symbols.push_back({*token});
    }
    return true;
}

void BytePairEncoding::mergeSymbols(Scratch& scratch) const {
    std::vector<Symbol>& symbols = scratch.symbols;
    std::vector<std::uint64_t>& queue = scratch.queue;
    const auto symbol = [&](int at) -> Symbol& { return symbols[static_cast<std::size_t>(at)]; };
    const auto findMerge = [&](int at) {
        Symbol& left = symbol(at);
        left.merge = left.next == none ? nullptr : mergeOf(left.token, symbol(left.next).token);
        if (left.merge)
            queue.push_back(std::uint64_t{left.merge->rank} << 32U | static_cast<std::uint32_t>(at));
        return left.merge != nullptr;
    };

    const auto count = static_cast<int>(symbols.size());
    queue.clear();
    for (int at = 0; at < count; ++at) {
        symbol(at).previous = at - 1; // none for the first
        symbol(at).next = at + 1 < count ? at + 1 : none;
    }
    for (int at = 0; at < count; ++at)
        findMerge(at);
    std::ranges::make_heap(queue, std::greater<>());

    while (!queue.empty()) {
        std::ranges::pop_heap(queue, std::greater<>());
        const auto rank = static_cast<std::uint32_t>(queue.back() >> 32U);
        const auto at = static_cast<int>(queue.back() & 0xFFFFFFFFU);
        queue.pop_back();
        Symbol& left = symbol(at);
        if (!left.merge || left.merge->rank != rank) // a neighbour was merged since
            continue;
        Symbol& right = symbol(left.next);
        left.token = left.merge->result;
        left.next = right.next;
        right.merge = nullptr;
        if (left.next != none)
            symbol(left.next).previous = at;
        if (findMerge(at))
            std::ranges::push_heap(queue, std::greater<>());
        if (left.previous != none && findMerge(left.previous))
            std::ranges::push_heap(queue, std::greater<>());
    }
}

} // namespace fenlo::hub
