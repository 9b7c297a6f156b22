// Pixels of three samples to three vectors of channels, and back.
// Included once for each vector target, after hwy/highway.h.
//
// A 16-byte block holds L samples, and 3 does not divide L: of three blocks in a row, the samples of one
// channel stand at places of three different remainders modulo 3. So the three blocks can be merged by
// blends, without shuffles, into one that holds a channel's L samples, and a single shuffle within the block
// sorts them. The same holds one level up: a vector has 1, 2 or 4 blocks, so of three vectors in a row the
// first, second or third blocks of the pixel groups stand at places of different remainders.
#if defined(ZOPI_CORE_CHANNELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_CHANNELS_INL_H_
#undef ZOPI_CORE_CHANNELS_INL_H_
#else
#define ZOPI_CORE_CHANNELS_INL_H_
#endif

#include <cstdint>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
class ThreeChannels {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;
  using M = hn::Mask<D>;
  using Bits = hwy::MakeUnsigned<T>;
  using D8 = hn::Repartition<uint8_t, D>;
  using D32 = hn::Repartition<uint32_t, D>;
  static constexpr int N = static_cast<int>(kLanes<D>);
  static constexpr int L = 16 / static_cast<int>(sizeof(T));
  static constexpr int kBlocks = N / L;

  // By remainder: masks of the samples at places p of their block, and of the blocks at places q of their
  // vector, with p or q % 3 == remainder. By channel c and group x: the orders of samples in a block and of
  // blocks in a vector.
  struct Tables {
    alignas(64) Bits samples[3][N];
    alignas(64) Bits blocks[3][N];
    alignas(16) uint8_t gather[3][16], scatter[3][16];  // channel c: lane t <-> place (3 t + c) % L
    alignas(64) uint32_t pick[3][N * sizeof(T) / 4],
        put[3][N * sizeof(T) / 4];  // group x: block j <-> (3 j + x) % B
  };

  static constexpr Tables makeTables() {
    Tables tables{};
    for (int r = 0; r < 3; ++r) {
      for (int i = 0; i < N; ++i) {
        tables.samples[r][i] = static_cast<Bits>(i % L % 3 == r ? ~Bits{0} : 0);
        tables.blocks[r][i] = static_cast<Bits>(i / L % 3 == r ? ~Bits{0} : 0);
      }
      for (int t = 0; t < L; ++t) {
        const int place = (3 * t + r) % L;
        for (int byte = 0; byte < static_cast<int>(sizeof(T)); ++byte) {
          tables.gather[r][t * sizeof(T) + byte] = static_cast<uint8_t>(place * sizeof(T) + byte);
          tables.scatter[r][place * sizeof(T) + byte] = static_cast<uint8_t>(t * sizeof(T) + byte);
        }
      }
      for (int j = 0; j < kBlocks; ++j) {
        const int place = (3 * j + r) % kBlocks;
        for (uint32_t word = 0; word < 4; ++word) {
          tables.pick[r][4 * j + word] = 4 * place + word;
          tables.put[r][4 * place + word] = 4 * j + word;
        }
      }
    }
    return tables;
  }
  static constexpr Tables kTables = makeTables();

  static HWY_INLINE M mask(const Bits* table) {
    return hn::MaskFromVec(hn::BitCast(D(), hn::Load(hn::RebindToUnsigned<D>(), table)));
  }
  static HWY_INLINE hn::Vec<D8> order(const uint8_t* table) { return hn::LoadDup128(D8(), table); }

  using BlockOrder = decltype(hn::SetTableIndices(D32(), static_cast<const uint32_t*>(nullptr)));
  static HWY_INLINE BlockOrder blockOrder(const uint32_t* table) { return hn::SetTableIndices(D32(), table); }

  // Places of remainder `r0` come from a, those of `r0 + 1` from b, the others from c.
  template <int r0>
  HWY_INLINE V mergeSamples(V a, V b, V c) const {
    return merge<r0>(samples0, samples1, samples2, a, b, c);
  }
  template <int r0>
  HWY_INLINE V mergeBlocks(V a, V b, V c) const {
    return merge<r0>(blocks0, blocks1, blocks2, a, b, c);
  }
  template <int r0>
  static HWY_INLINE V merge(M m0, M m1, M m2, V a, V b, V c) {
    if constexpr (r0 % 3 == 0) return hn::IfThenElse(m0, a, hn::IfThenElse(m1, b, c));
    if constexpr (r0 % 3 == 1) return hn::IfThenElse(m1, a, hn::IfThenElse(m2, b, c));
    if constexpr (r0 % 3 == 2) return hn::IfThenElse(m2, a, hn::IfThenElse(m0, b, c));
  }

  static HWY_INLINE V sort(V v, hn::Vec<D8> by) {
    return hn::BitCast(D(), hn::TableLookupBytes(hn::BitCast(D8(), v), by));
  }
  static HWY_INLINE V sortBlocks(V v, BlockOrder by) {
    if constexpr (kBlocks == 1)
      return v;
    else
      return hn::BitCast(D(), hn::TableLookupLanes(hn::BitCast(D32(), v), by));
  }

  const M samples0 = mask(kTables.samples[0]), samples1 = mask(kTables.samples[1]),
          samples2 = mask(kTables.samples[2]);
  const M blocks0 = mask(kTables.blocks[0]), blocks1 = mask(kTables.blocks[1]),
          blocks2 = mask(kTables.blocks[2]);
  const hn::Vec<D8> gather0 = order(kTables.gather[0]), gather1 = order(kTables.gather[1]),
                    gather2 = order(kTables.gather[2]);
  const hn::Vec<D8> scatter0 = order(kTables.scatter[0]), scatter1 = order(kTables.scatter[1]),
                    scatter2 = order(kTables.scatter[2]);
  const BlockOrder pick0 = blockOrder(kTables.pick[0]), pick1 = blockOrder(kTables.pick[1]),
                   pick2 = blockOrder(kTables.pick[2]);
  const BlockOrder put0 = blockOrder(kTables.put[0]), put1 = blockOrder(kTables.put[1]),
                   put2 = blockOrder(kTables.put[2]);

  // Merges three in a row of `kPer` things each, of which the wanted ones stand at places of remainder r0 in
  // the first and r0 - kPer, r0 - 2 kPer in the others: r0, r0 + 1, r0 + 2 where kPer % 3 is 2, and r0, r0 +
  // 2, r0 + 1 where it is 1.
  template <int kPer, int r0, bool kOfSamples>
  HWY_INLINE V mergeRow(V a, V b, V c) const {
    if constexpr (kOfSamples)
      return kPer % 3 == 2 ? mergeSamples<r0>(a, b, c) : mergeSamples<r0>(a, c, b);
    else
      return kPer % 3 == 2 ? mergeBlocks<r0>(a, b, c) : mergeBlocks<r0>(a, c, b);
  }

 public:
  // Written out, so that the tables are loaded by code for this target.
  HWY_INLINE ThreeChannels() {}

  HWY_INLINE void load(const T* from, V& a, V& b, V& c) const {
    const D d;
    part(hn::LoadU(d, from), hn::LoadU(d, from + N), hn::LoadU(d, from + 2 * N), a, b, c);
  }

  // The same from three vectors in a row.
  HWY_INLINE void part(V g0, V g1, V g2, V& a, V& b, V& c) const {
    // Group x has the blocks with number % 3 == x: in vector v those at places of remainder x - v B.
    if constexpr (kBlocks > 1) {
      const V v0 = g0, v1 = g1, v2 = g2;
      g0 = sortBlocks(mergeRow<kBlocks, 0, false>(v0, v1, v2), pick0);
      g1 = sortBlocks(mergeRow<kBlocks, 1, false>(v0, v1, v2), pick1);
      g2 = sortBlocks(mergeRow<kBlocks, 2, false>(v0, v1, v2), pick2);
    }
    // Channel c has the samples with number % 3 == c: in group x those at places of remainder c - x L.
    a = sort(mergeRow<L, 0, true>(g0, g1, g2), gather0);
    b = sort(mergeRow<L, 1, true>(g0, g1, g2), gather1);
    c = sort(mergeRow<L, 2, true>(g0, g1, g2), gather2);
  }

  template <bool kStream = false>
  HWY_INLINE void store(V a, V b, V c, T* to) const {
    const D d;
    const V s0 = sort(a, scatter0), s1 = sort(b, scatter1), s2 = sort(c, scatter2);
    // Place p of group x is of channel (x L + p) % 3: channel 0 stands at places of remainder -x L.
    V g0 = mergeSamples<0>(s0, s1, s2);
    V g1 = mergeSamples<(3 - L % 3) % 3>(s0, s1, s2);
    V g2 = mergeSamples<(3 - 2 * L % 3) % 3>(s0, s1, s2);
    // Place q of vector v is of group (v B + q) % 3.
    if constexpr (kBlocks > 1) {
      const V b0 = sortBlocks(g0, put0), b1 = sortBlocks(g1, put1), b2 = sortBlocks(g2, put2);
      g0 = mergeBlocks<0>(b0, b1, b2);
      g1 = mergeBlocks<(3 - kBlocks % 3) % 3>(b0, b1, b2);
      g2 = mergeBlocks<(3 - 2 * kBlocks % 3) % 3>(b0, b1, b2);
    }
    HWY_NAMESPACE::store<kStream>(d, g0, to);
    HWY_NAMESPACE::store<kStream>(d, g1, to + N);
    HWY_NAMESPACE::store<kStream>(d, g2, to + 2 * N);
  }
};

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
