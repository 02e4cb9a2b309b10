// The product of rows of bytes with vectors of bytes. ByteRows.cpp includes this once for each width, in a namespace
// and a target region that have `Lanes`:
//
//   Vector                 one register, `bytes` wide
//   prepared(row)          a row's bytes as sum() takes them
//   sum(sums, row, x)      each 32-bit lane grows by the products of its four bytes, and by what `prepared` has added
//   store4(a, b, c, d, to) the lanes of each, added up

/// As far ahead as main memory is away at the speed of one core: the processor's own look-ahead ends with each page.
constexpr std::size_t lookAhead = 4096;

/// The `Index` vectors times one row: each one's lanes. A pack in place of a loop, so that the sums are registers.
template <std::size_t... Index>
inline void multiplyRow(const std::int8_t* row, std::size_t whole, const std::int8_t* const* xs, Lanes::Vector* found,
                        std::index_sequence<Index...>) {
    Lanes::Vector sums[] = {(static_cast<void>(Index), Lanes::zero())...};
    for (std::size_t j = 0; j < whole; j += Lanes::bytes) {
        __builtin_prefetch(row + j + lookAhead, 0, 2); // into the second cache
        const Lanes::Vector part = Lanes::prepared(Lanes::load(row + j));
        ((sums[Index] = Lanes::sum(sums[Index], part, Lanes::load(xs[Index] + j))), ...);
    }
    ((found[Index] = sums[Index]), ...);
}

/// `Rows` consecutive rows times `Vectors` vectors: sums[v * sumBlock + r]. One row after the other, since memory
/// delivers one stream faster than several; their lanes are added up together, since that takes as long as a short row.
template <int Rows, int Vectors>
inline void multiplyRows(const std::int8_t* weights, std::size_t columns, const std::int8_t* const* xs,
                         const std::int32_t* excess, std::int32_t* sums) {
    constexpr int all = Rows * Vectors;
    Lanes::Vector found[(all + 3) / 4 * 4];
    for (int i = all; i % 4 != 0; ++i)
        found[i] = Lanes::zero();
    const std::size_t whole = columns / Lanes::bytes * Lanes::bytes;
    for (int r = 0; r < Rows; ++r)
        multiplyRow(weights + static_cast<std::size_t>(r) * columns, whole, xs, found + r * Vectors,
                    std::make_index_sequence<Vectors>());
    std::int32_t totals[(all + 3) / 4 * 4];
    for (int i = 0; i < all; i += 4)
        Lanes::store4(found[i], found[i + 1], found[i + 2], found[i + 3], totals + i);
    for (int r = 0; r < Rows; ++r)
        for (int v = 0; v < Vectors; ++v) {
            std::int32_t sum = totals[r * Vectors + v] - excess[v];
            for (std::size_t j = whole; j < columns; ++j)
                sum += weights[static_cast<std::size_t>(r) * columns + j] * xs[v][j];
            sums[v * sumBlock + r] = sum;
        }
}

template <int Vectors>
void multiply(const ByteMatrix& matrix, const ByteVector* vectors, int firstRow, int lastRow) {
    constexpr int together = Vectors == 1 ? 4 : Vectors == 2 ? 2 : 1;
    const auto columns = static_cast<std::size_t>(matrix.columns);
    const std::int8_t* xs[Vectors];
    std::int32_t excess[Vectors];
    for (int v = 0; v < Vectors; ++v) {
        xs[v] = vectors[v].values;
        Lanes::Vector found = Lanes::zero();
        for (std::size_t j = 0; j + Lanes::bytes <= columns; j += Lanes::bytes)
            found = Lanes::sum(found, Lanes::prepared(Lanes::zero()), Lanes::load(xs[v] + j));
        std::int32_t total[4];
        Lanes::store4(found, Lanes::zero(), Lanes::zero(), Lanes::zero(), total);
        excess[v] = total[0];
    }
    std::int32_t sums[Vectors * sumBlock];
    for (int first = firstRow; first < lastRow; first += sumBlock) {
        const int rows = lastRow - first < sumBlock ? lastRow - first : sumBlock;
        const std::int8_t* const weights = matrix.weights + static_cast<std::size_t>(first) * columns;
        int r = 0;
        for (; r + together <= rows; r += together)
            multiplyRows<together, Vectors>(weights + static_cast<std::size_t>(r) * columns, columns, xs, excess,
                                            sums + r);
        for (; r < rows; ++r)
            multiplyRows<1, Vectors>(weights + static_cast<std::size_t>(r) * columns, columns, xs, excess, sums + r);
        for (int v = 0; v < Vectors; ++v)
            finish(matrix, vectors[v], sums + v * sumBlock, first, rows);
    }
}

constexpr Multiply* multiplications[mostByteVectors] = {multiply<1>, multiply<2>, multiply<3>, multiply<4>,
                                                        multiply<5>, multiply<6>, multiply<7>, multiply<8>};
