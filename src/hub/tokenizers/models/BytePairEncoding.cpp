#include "hub/tokenizers/models/BytePairEncoding.h"

#include "hub/tokenizers/models/ModelSettings.h"
#include "hub/tokenizers/steps/Steps.h"

#include <algorithm>
#include <array>
#include <functional>
#include <span>

namespace fenlo::hub {

namespace {

constexpr int none = -1;
constexpr std::size_t shortWord = 16; // symbols, among which a search is faster than a queue

} // namespace

/// A part of the word, in a chain that loses one of them with every merge.
struct BytePairEncoding::Symbol {
    int token;
    std::uint32_t begin; // bytes of the word
    std::uint32_t end;
    int previous = none;
    int next = none;
    const Merge* merge = nullptr; // with the next one
};

/// The merges of one word.
class BytePairEncoding::Merging {
public:
    Merging(const BytePairEncoding& model, std::pmr::vector<Symbol>& symbols)
        : m_model(model), m_symbols(symbols), m_isShort(symbols.size() <= shortWord), m_queue(symbols.get_allocator()) {
        m_queue.reserve(m_isShort ? 0 : symbols.size());
    }

    void run() {
        link();
        for (int at = 0; (at = m_isShort ? bestOfAll() : bestOfQueue()) != none;)
            merge(at);
    }

private:
    Symbol& symbol(int at) { return m_symbols[static_cast<std::size_t>(at)]; }

    void link() {
        const auto count = static_cast<int>(m_symbols.size());
        for (int at = 0; at < count; ++at) {
            symbol(at).previous = at - 1; // none for the first
            symbol(at).next = at + 1 < count ? at + 1 : none;
        }
        for (int at = 0; at < count; ++at)
            findMerge(at);
        std::ranges::make_heap(m_queue, std::greater<>());
    }

    /// True when a merge has come to the end of the queue.
    bool findMerge(int at) {
        Symbol& left = symbol(at);
        left.merge = left.next == none ? nullptr : m_model.mergeOf(left.token, symbol(left.next).token);
        if (!left.merge || m_isShort)
            return false;
        m_queue.push_back(std::uint64_t{left.merge->rank} << 32U | static_cast<std::uint32_t>(at));
        return true;
    }

    /// Where the best merge is, and of the same ones the leftmost; -1 for none.
    int bestOfAll() {
        int best = none;
        std::uint32_t rank = 0;
        for (int at = 0; at != none; at = symbol(at).next) {
            const Merge* const merge = symbol(at).merge;
            if (!merge || (best != none && rank <= merge->rank))
                continue;
            best = at;
            rank = merge->rank;
        }
        return best;
    }

    int bestOfQueue() {
        while (!m_queue.empty()) {
            std::ranges::pop_heap(m_queue, std::greater<>());
            const auto rank = static_cast<std::uint32_t>(m_queue.back() >> 32U);
            const auto at = static_cast<int>(m_queue.back() & 0xFFFFFFFFU);
            m_queue.pop_back();
            if (symbol(at).merge && symbol(at).merge->rank == rank) // no neighbour was merged since
                return at;
        }
        return none;
    }

    void merge(int at) {
        Symbol& left = symbol(at);
        Symbol& right = symbol(left.next);
        left.token = left.merge->result;
        left.end = right.end;
        left.next = right.next;
        right.merge = nullptr;
        if (left.next != none)
            symbol(left.next).previous = at;
        for (const int changed : {at, left.previous})
            if (changed != none && findMerge(changed))
                std::ranges::push_heap(m_queue, std::greater<>());
    }

    const BytePairEncoding& m_model;
    const std::span<Symbol> m_symbols;
    const bool m_isShort;
    // Rank and place in one number, so that the first merge is the best one, and of the same ones the leftmost.
    std::pmr::vector<std::uint64_t> m_queue;
};

BytePairEncoding::BytePairEncoding(const JsonNode& node, const TokenizerDocument& document) {
    requireModel(node, document, "BPE", VocabularyForm::table);
    node.allowOnly({"type", "vocab", "merges", "dropout", "unk_token", "continuing_subword_prefix",
                    "end_of_word_suffix", "fuse_unk", "byte_fallback", "ignore_merges"});
    if (!node.has("merges") || !node.member("merges").isNull()) // the document has taken them out
        node.member("merges").fail("is missing or of a wrong form");
    if (const JsonNode suffix = node.member("end_of_word_suffix"); !suffix.isNull())
        m_endOfWord = shortText(suffix);
    if (const JsonNode prefix = node.member("continuing_subword_prefix"); !prefix.isNull())
        m_continuingPrefix = shortText(prefix);
    m_unknown = readUnknownToken(node, document.vocabulary);
    m_fusesUnknown = node.member("fuse_unk").boolean(false);
    if (node.member("byte_fallback").boolean(false))
        m_bytes = ByteTokens(document.vocabulary);
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

    // Of a pair that is listed twice the last place counts.
    std::ranges::reverse(m_merges);
    const auto pair = [](const Merge& merge) { return std::pair(merge.left, merge.right); };
    std::ranges::stable_sort(m_merges, {}, pair);
    const auto areSame = [&](const Merge& one, const Merge& other) { return pair(one) == pair(other); };
    m_merges.erase(std::unique(m_merges.begin(), m_merges.end(), areSame), m_merges.end());
    m_mergesOfLeft.assign(static_cast<std::size_t>(document.vocabulary.size()) + 1, 0);
    for (const Merge& merge : m_merges)
        ++m_mergesOfLeft[static_cast<std::size_t>(merge.left) + 1];
    for (std::size_t i = 1; i < m_mergesOfLeft.size(); ++i)
        m_mergesOfLeft[i] += m_mergesOfLeft[i - 1];
}

const BytePairEncoding::Merge* BytePairEncoding::mergeOf(int left, int right) const {
    const std::size_t* const begin = &m_mergesOfLeft[static_cast<std::size_t>(left)];
    const auto merges = std::span(m_merges).subspan(begin[0], begin[1] - begin[0]);
    const auto found = std::ranges::lower_bound(merges, right, {}, &Merge::right);
    return found != merges.end() && found->right == right ? &*found : nullptr;
}

void BytePairEncoding::encode(std::string_view word, const Vocabulary& vocabulary,
                              std::vector<ModelToken>& tokens) const {
    if (m_ignoresMerges)
        if (const std::optional<int> whole = vocabulary.find(word); whole && isPiece(*whole)) {
            tokens.push_back({*whole, 0, static_cast<std::uint32_t>(word.size())});
            return;
        }
    // Nearly all words are short, so the room for their symbols costs nothing.
    std::array<std::byte, 4096> room;
    std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
    std::pmr::vector<Symbol> symbols(&memory);
    symbols.reserve(word.size());
    splitCharacters(word, vocabulary, symbols);
    if (symbols.size() > 1)
        Merging(*this, symbols).run();
    for (int at = symbols.empty() ? none : 0; at != none;) {
        const Symbol& symbol = symbols[static_cast<std::size_t>(at)];
        tokens.push_back({symbol.token, symbol.begin, symbol.end});
        at = symbol.next;
    }
}

void BytePairEncoding::splitCharacters(std::string_view word, const Vocabulary& vocabulary,
                                       std::pmr::vector<Symbol>& symbols) const {
    bool lastIsUnknown = false;
    std::string marked;
    for (std::size_t at = 0; at < word.size();) {
        const std::string_view character = word.substr(at, characterLength(word[at]));
        const bool isLast = at + character.size() == word.size();
        std::string_view piece = character;
        if ((at > 0 && !m_continuingPrefix.empty()) || (isLast && !m_endOfWord.empty())) {
            marked.assign(at > 0 ? m_continuingPrefix : "").append(character);
            piece = marked.append(isLast ? m_endOfWord : "");
        }
        const auto begin = static_cast<std::uint32_t>(at);
        at += character.size();
        const auto end = static_cast<std::uint32_t>(at);
        if (const std::optional<int> token = vocabulary.find(piece); token && isPiece(*token)) {
            symbols.push_back({*token, begin, end});
            lastIsUnknown = false;
        } else if (m_bytes.have(character)) {
            for (std::uint32_t byte = begin; byte < end; ++byte)
                symbols.push_back({m_bytes.of(word[byte]), byte, byte + 1});
            lastIsUnknown = false;
        } else if (m_unknown) {
            if (lastIsUnknown && m_fusesUnknown)
                symbols.back().end = end;
            else
                symbols.push_back({*m_unknown, begin, end});
            lastIsUnknown = true;
        }
    }
}

} // namespace fenlo::hub
