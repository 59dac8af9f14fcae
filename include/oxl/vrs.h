/* Random streams, basic generators and distribution generators.
 *
 * A stream is one heap record holding the id of its basic generator and that generator's running
 * state. Every basic generator is one row of a registry (a BrngRecord); the framework finds the
 * row from the stream's generator id and calls through it. Every entry returns a signed 32-bit
 * status: 0 for success, a negative Status... value for failure.
 *
 * A stream belongs to one thread at a time; different streams may be used at once. */
#ifndef OXL_VRS_H
#define OXL_VRS_H

#include <stdint.h>

#include "oxl/oxl_api.h"
#include "oxl/threading.h"

OXL_EXTERN_C_BEGIN

/* ---------------------------------------------------------------------------------------------
 * Statuses of streams and generators. */
enum {
  StatusBadMethod = -2,        /* InitStream method not 0, 1 or 2 */
  StatusBadArgs = -3,          /* abstract stream or quasi-random parameters inconsistent */
  StatusNoMemory = -4,         /* an allocation failed */
  StatusNullBrngFunction = -5, /* __vrsRegisterBrng: a function pointer is null */
  StatusInvalidBrng = -1000,   /* no such generator, or an abstract one given to __vrsNewStreamEx */
  StatusNoLeapfrog = -1002,
  StatusNoSkipAhead = -1003,
  StatusBadStateSize = -1008, /* __vrsRegisterBrng: StateSize negative */
  StatusBadWordBytes = -1009, /* __vrsRegisterBrng: WordBytes not 4, 8 or 16 */
  StatusBadSeedWords = -1010, /* __vrsRegisterBrng: SeedWords not positive */
  StatusBadBits = -1011,      /* __vrsRegisterBrng: Bits not positive */
  StatusQrngPeriodElapsed = -1012,
  StatusBadLeapfrogCount = -1013, /* __vrsLeapfrogStream: negative stream count */
  StatusBitsUnsupported = -1014,  /* UniformBits32/64 on a generator without such output */
  StatusFileClose = -1100,
  StatusFileOpen = -1101,
  StatusFileWrite = -1102,
  StatusFileRead = -1103,
  StatusFileFormat = -1110,
  StatusFileVersion = -1111,
  StatusAbstractBadCount = -1120,
  StatusAbstractNoData = -1121,
  StatusAbstractWrongType = -1122,
  StatusNoRdrand = -1130,
  StatusRdrandFailed = -1131,
  StatusNoAes = -1140,
  StatusMemoryFormat = -1200,
  StatusRONotFound = -3000, /* no read-only table row with this key */
  StatusROTableFull = -3001 /* the read-only table has all its rows in use */
};

/* ---------------------------------------------------------------------------------------------
 * Generator ids: (registry row + 1) << 20, plus a member offset for families (WH has 273
 * members, MT2203 6024). Ids below 0x100000 are the older numbering (__RegBrngs). */
#define OXL_BRNG_MCG31 0x100000
#define OXL_BRNG_R250 0x200000
#define OXL_BRNG_MRG32K3A 0x300000
#define OXL_BRNG_MCG59 0x400000
#define OXL_BRNG_WH 0x500000
#define OXL_BRNG_SOBOL 0x600000
#define OXL_BRNG_NIEDERREITER 0x700000
#define OXL_BRNG_MT19937 0x800000
#define OXL_BRNG_MT2203 0x900000
#define OXL_BRNG_IABSTRACT 0xA00000
#define OXL_BRNG_DABSTRACT 0xB00000
#define OXL_BRNG_SABSTRACT 0xC00000
#define OXL_BRNG_SFMT19937 0xD00000
#define OXL_BRNG_NONDETERM 0xE00000
#define OXL_BRNG_ARS5 0xF00000
#define OXL_BRNG_PHILOX4X32X10 0x1000000

/* InitStream methods. */
#define OXL_BRNG_INIT_SEED 0      /* n seed words at params */
#define OXL_BRNG_INIT_LEAPFROG 1  /* n streams; params points at the 32-bit stream index */
#define OXL_BRNG_INIT_SKIPAHEAD 2 /* n is 2; params points at the 64-bit skip count */

/* Bit of the method word of _vrsdRngUniform and _vrssRngUniform: clamp results to [a, b]. */
#define OXL_RNG_METHOD_ACCURATE 0x40000000

/* ---------------------------------------------------------------------------------------------
 * Records. */
struct ChunkNode;

/* The 16-byte header of every stream record. The generator's state follows at byte 16; the whole
 * record is StateSize bytes of the generator's registry row, allocated with 128-byte alignment. */
typedef struct StreamRecord {
  int32_t Brng;             /* generator id */
  uint8_t Format;           /* 1 at allocation; not read by this library */
  uint8_t Reserved[3];      /* zero */
  struct ChunkNode* Chunks; /* auxiliary data, newest first; NULL when none */
} StreamRecord;

/* Auxiliary data hung on a stream. Key is all-zero for data private to the node; otherwise it
 * names a row of the process-wide read-only table that owns Data. */
typedef struct ChunkNode {
  uint32_t Id;
  int32_t Size; /* bytes in Data */
  void* Data;
  struct ChunkNode* Next;
  uint64_t Key[2];
} ChunkNode;

/* A row of the read-only table: a block shared by RefCount chunks. */
typedef struct GlobRODataEntry {
  uint64_t Key[2];
  int32_t RefCount;
  void* Data;
} GlobRODataEntry;

/* The functions of a basic generator. params of InitStream: see OXL_BRNG_INIT_*. The output
 * functions write n values and advance the state by n outputs; sBRng and dBRng map to the
 * interval from a to b. iBRng writes 32-bit words, or 64-bit words where the row's WordBytes is
 * 8 (MCG59): r must then hold n 64-bit words. */
typedef int32_t (*BrngInitStreamFn)(int32_t method, StreamRecord* stream, int32_t n,
                                    const uint32_t* params);
typedef int32_t (*BrngSFn)(StreamRecord* stream, int32_t n, float* r, float a, float b);
typedef int32_t (*BrngDFn)(StreamRecord* stream, int32_t n, double* r, double a, double b);
typedef int32_t (*BrngIFn)(StreamRecord* stream, int32_t n, uint32_t* r);

/* One registry row; also what __vrsRegisterBrng takes and __vrsGetBrngProperties gives. */
typedef struct BrngRecord {
  int32_t StateSize;    /* bytes of the whole StreamRecord, header included */
  int32_t SeedWords;    /* number of seed words */
  int32_t IncludesZero; /* 1 if the output interval includes zero */
  int32_t WordBytes;    /* size of one seed word: 4, 8 or 16 */
  int32_t Bits;         /* significant bits in one output word */
  BrngInitStreamFn InitStream;
  BrngSFn sBRng;
  BrngDFn dBRng;
  BrngIFn iBRng;
} BrngRecord;

/* ---------------------------------------------------------------------------------------------
 * Registry. Both tables have 512 rows. __RegBrngs serves ids below 0x100000 and is never
 * extended; __RegBrngsNew serves the others and grows by __vrsRegisterBrng. */
OXL_API extern BrngRecord __RegBrngs[512];
OXL_API extern BrngRecord __RegBrngsNew[512];

/* The parameters of the 6024 MT2203 members, one row of three words per member offset: the twist
 * word MatrixA and the tempering masks MaskB and MaskC. */
OXL_API extern const uint32_t _vrs_mt2203_table[6024 * 3];

/* Row and member offset of generator `id`; returns the table that holds the row. */
OXL_API BrngRecord* __vrsGetBrngBaseOffset(int32_t id, int32_t* row, int32_t* offset);
/* 0 when (table, row, offset) names a generator, else StatusInvalidBrng. The comparisons are
 * signed; rows 279 and 280 of the older table are all-zero and still pass. */
OXL_API int32_t __vrsIsBrngValid(const BrngRecord* table, int32_t row, int32_t offset);
OXL_API int32_t __vrsGetNumRegBrngs(void);
/* Adds a generator; returns its id (positive) or a status. Takes no lock, checks no capacity. */
OXL_API int32_t __vrsRegisterBrng(const BrngRecord* brng);
OXL_API int32_t __vrsGetBrngProperties(int32_t id, BrngRecord* properties);

/* ---------------------------------------------------------------------------------------------
 * Streams. */
/* Allocates a record of the row's StateSize with the header set; the state is not initialised. */
OXL_API int32_t __vrsAllocateStream(StreamRecord** stream, const BrngRecord* table, int32_t id,
                                    int32_t row, int32_t offset);
/* Creates and seeds a stream. When seeding fails the stream stays allocated in *stream and the
 * caller deletes it. */
OXL_API int32_t __vrsNewStreamEx(StreamRecord** stream, int32_t id, int32_t n,
                                 const uint32_t* seeds);
OXL_API int32_t __vrsCopyStream(StreamRecord** copy, const StreamRecord* source);
/* Copies the seed words (WordBytes times SeedWords bytes of the source's row) and the chunks
 * between streams of one generator; StatusInvalidBrng, with nothing changed, for streams of
 * different generators, StatusBadArgs for a null stream. */
OXL_API int32_t __vrsCopyStreamState(StreamRecord* destination, const StreamRecord* source);
/* Frees the stream and its chunks and clears *stream; StatusBadArgs when there is no stream. */
OXL_API int32_t __vrsDeleteStream(StreamRecord** stream);
OXL_API int32_t __vrsGetStreamStateBrng(const StreamRecord* stream);

/* Skip-ahead and leapfrog: InitStream of the stream's generator with method 2 or 1. */
OXL_API int32_t __vrsLeapfrogStream(StreamRecord* stream, int32_t k, int32_t nstreams);
OXL_API int32_t __vrsSkipAheadStream(StreamRecord* stream, int64_t nskip);

/* ---------------------------------------------------------------------------------------------
 * Chunks and the read-only table. A chunk whose key is in the table shares the table's block. */
OXL_API int32_t __vrsAddChunk(StreamRecord* stream, uint32_t id, const uint64_t* key, void* data,
                              int32_t size);
OXL_API void* __vrsSearchChunk(const StreamRecord* stream, uint32_t id);
OXL_API int32_t __vrsGetNumChunks(const StreamRecord* stream);
OXL_API int32_t __vrsCopyChunks(StreamRecord* destination, const StreamRecord* source);
OXL_API void __vrsDeleteChunks(StreamRecord* stream);
OXL_API void __vrsDeleteChunksById(StreamRecord* stream, uint32_t id);

OXL_API int32_t __vrsCreateGlobRODataTableEntry(GlobRODataEntry** entry, const uint64_t* key,
                                                void* data);
OXL_API int32_t __vrsFindGlobRODataTableEntry(GlobRODataEntry** entry, const uint64_t* key);
OXL_API int32_t __vrsGenerateNewGlobalRODataTableEntryId(uint64_t* key, uint64_t second);
OXL_API void __vrsRegisterGlobRODataReference(ChunkNode* node, const uint64_t* key);
OXL_API void __vrsUnregisterGlobRODataReference(const uint64_t* key);

/* ---------------------------------------------------------------------------------------------
 * Congruential generators.
 *   MCG31:    x' = 1132489760 x mod (2^31 - 1); outputs x / (2^31 - 1) scaled, never 0.
 *   MCG59:    x' = 13^13 x mod 2^59; outputs x / 2^59 scaled; iBRng writes 64-bit words.
 *   MRG32K3A: L'Ecuyer's combined generator; z = (x - y) mod M1 in 1..M1, outputs z / M1 scaled,
 *             so b itself can come out.
 * The output functions of MCG59 and MRG32K3A write nothing and leave the state alone when n is 0
 * or less; MCG31's write r[0] and step once then, as its callers have always seen it. */
OXL_API int32_t __vrsBRngMCG31M1InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                           const uint32_t* params);
OXL_API int32_t __vrssBRngMCG31M1(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngMCG31M1(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngMCG31M1(StreamRecord* stream, int32_t n, uint32_t* r);

OXL_API int32_t __vrsBRngMCG59InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                         const uint32_t* params);
OXL_API int32_t __vrssBRngMCG59(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngMCG59(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngMCG59(StreamRecord* stream, int32_t n, uint32_t* r);

OXL_API int32_t __vrsBRngMRG32K3AInitStream(int32_t method, StreamRecord* stream, int32_t n,
                                            const uint32_t* params);
OXL_API int32_t __vrssBRngMRG32K3A(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngMRG32K3A(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngMRG32K3A(StreamRecord* stream, int32_t n, uint32_t* r);

/* ---------------------------------------------------------------------------------------------
 * R250: Kirkpatrick and Stoll's feedback shift register x[n] = x[n-250] ^ x[n-147] on 32-bit
 * words. 250 seed words or more are the register as given; fewer seed it from word 0 (1 for none
 * or 0) by the multiplier 69069, with 16 words fixed for full period. dBRng is the word as
 * unsigned times (b - a) 2^-32, plus a, by one fused multiply-add; sBRng the same in double,
 * rounded to float. No leapfrog and no skip-ahead. */
OXL_API int32_t __vrsBRngR250InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                        const uint32_t* params);
OXL_API int32_t __vrssBRngR250(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngR250(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngR250(StreamRecord* stream, int32_t n, uint32_t* r);

/* ---------------------------------------------------------------------------------------------
 * Twister generators.
 *   MT19937:   Mersenne twister of period 2^19937 - 1; outputs the tempered word, as unsigned.
 *   MT2203:    6024 Mersenne twisters of period 2^2203 - 1, one per id offset.
 *   SFMT19937: SIMD-oriented fast Mersenne twister; untempered words, taken as signed and
 *              centred on (a + b) / 2 by dBRng and sBRng.
 * Seeding is the array initialisation of each generator; a seed count of 0 or less acts as the
 * single word 1. The output functions write nothing for n of 0 or less. */
OXL_API int32_t __vrsBRngMT19937InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                           const uint32_t* params);
OXL_API int32_t __vrssBRngMT19937(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngMT19937(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngMT19937(StreamRecord* stream, int32_t n, uint32_t* r);

OXL_API int32_t __vrsBRngMT2203InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                          const uint32_t* params);
OXL_API int32_t __vrssBRngMT2203(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngMT2203(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngMT2203(StreamRecord* stream, int32_t n, uint32_t* r);

OXL_API int32_t __vrsBRngSFMT19937InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                             const uint32_t* params);
OXL_API int32_t __vrssBRngSFMT19937(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngSFMT19937(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngSFMT19937(StreamRecord* stream, int32_t n, uint32_t* r);

/* ---------------------------------------------------------------------------------------------
 * Counter-based and hardware generators.
 *   PHILOX4X32X10: Random123's Philox4x32-10; seed words 0 and 1 are the key, words 2 to 5 the
 *                  128-bit counter (low word first); missing words are 0.
 *   ARS5:          five AES rounds (Random123's ARS-5); seed words 0 to 3 the key, 4 to 7 the
 *                  counter. Needs the AES instructions: StatusNoAes without them.
 *   NONDETERM:     the processor's RDRAND; seed word 1, when given and not 0, is the number of
 *                  further tries of a failed RDRAND (10 otherwise). StatusNoRdrand without it,
 *                  StatusRdrandFailed when it keeps failing, with the outputs before in place.
 * The counter-based ones give the four words of each counter's block in order, one counter after
 * the other; dBRng and sBRng take a word as signed and centre it on (a + b) / 2, as SFMT19937
 * does. Skip-ahead counts words: up to 2^64 - 1 through __vrsSkipAheadStream, and up to
 * 2^128 - 1 through InitStream(2, stream, 4, count) with the count in four 32-bit words, low
 * first. None of the three has leapfrog. */
OXL_API int32_t __vrsBRngPHILOX4X32X10InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                                 const uint32_t* params);
OXL_API int32_t __vrssBRngPHILOX4X32X10(StreamRecord* stream, int32_t n, float* r, float a,
                                        float b);
OXL_API int32_t __vrsdBRngPHILOX4X32X10(StreamRecord* stream, int32_t n, double* r, double a,
                                        double b);
OXL_API int32_t __vrsiBRngPHILOX4X32X10(StreamRecord* stream, int32_t n, uint32_t* r);

OXL_API int32_t __vrsBRngARS5InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                        const uint32_t* params);
OXL_API int32_t __vrssBRngARS5(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngARS5(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngARS5(StreamRecord* stream, int32_t n, uint32_t* r);

/* NONDETERM's iBRng makes two words of each 64-bit RDRAND, low half first; dBRng one double of
 * each, as an unsigned 64-bit number times (b - a) 2^-64 plus a; sBRng two floats of each, the top
 * 24 bits of each half times (b - a) 2^-24 plus a. */
OXL_API int32_t __vrsBRngTRNGInitStream(int32_t method, StreamRecord* stream, int32_t n,
                                        const uint32_t* params);
OXL_API int32_t __vrssBRngTRNG(StreamRecord* stream, int32_t n, float* r, float a, float b);
OXL_API int32_t __vrsdBRngTRNG(StreamRecord* stream, int32_t n, double* r, double a, double b);
OXL_API int32_t __vrsiBRngTRNG(StreamRecord* stream, int32_t n, uint32_t* r);

/* 1 when the processor has the AES instructions (CPUID leaf 1, ECX bit 25), else 0. */
OXL_API int __vrsCPUisAES(void);
/* 1 when the processor has RDRAND (CPUID leaf 1, ECX bit 30), else 0. */
OXL_API int __vrsCPUisRDRAND(void);

/* Modular powers by right-to-left binary exponentiation; an exponent of 0 gives 1. */
OXL_API uint32_t __vrsiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus);
OXL_API uint32_t __vrsiPowMod2P31M1(uint32_t base, uint64_t exponent);
OXL_API uint64_t __vrsiPowMod2P59(uint64_t base, uint64_t exponent);
/* Advances v = (oldest, middle, newest) of the recurrence
 *   new = row[0] newest + row[1] middle + row[2] oldest  (mod modulus)
 * by `exponent` steps, through a power of its 3 by 3 companion matrix. Negative coefficients are
 * given as residues; v must hold residues. */
OXL_API void __vrsiVect3PowMod(uint32_t* v, const uint32_t* row, uint32_t modulus,
                               uint64_t exponent);

/* ---------------------------------------------------------------------------------------------
 * Distribution generators: Uniform. */
/* Uniform on [a, b) through the generator's dBRng/sBRng. With OXL_RNG_METHOD_ACCURATE in
 * `method`, every result is clamped to [a, b]; without it, rounding may put a result just outside
 * (MRG32K3A can give b itself). */
OXL_API int32_t _vrsdRngUniform(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                double a, double b);
OXL_API int32_t _vrssRngUniform(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                                float b);
/* Integers from a up to b - 1. */
OXL_API int32_t _vrsiRngUniform(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                int32_t a, int32_t b);
/* The generator's raw words as they are: 32-bit words, or 64-bit words for MCG59. */
OXL_API int32_t _vrsiRngUniformBits(int32_t method, StreamRecord* stream, int32_t n, uint32_t* r);

/* ---------------------------------------------------------------------------------------------
 * Discrete distributions: 32-bit signed outputs (except the bit words). Bad parameters (p outside
 * [0, 1], a negative count, a negative or non-finite mean, ...) give StatusBadArgs and draw and
 * write nothing; a negative status of the generator ends the call. Laws whose set-up is costly
 * keep it in a chunk of the stream, made again only when the parameters change. */
/* 32 uniform bits per output, or 64 (two words of the generator, the first low). MT19937, MT2203,
 * SFMT19937, NONDETERM, ARS5 and PHILOX4X32X10 give their words; MCG59 the top 32 of its 59 bits;
 * any other generator StatusBitsUnsupported. */
OXL_API int32_t _vrsiRngUniformBits32(int32_t method, StreamRecord* stream, int32_t n,
                                      uint32_t* r);
OXL_API int32_t _vrsiRngUniformBits64(int32_t method, StreamRecord* stream, int32_t n,
                                      uint64_t* r);
/* 1 with probability p (p rounded to float), else 0. */
OXL_API int32_t _vrsiRngBernoulli(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                  double p);
/* Failures before the first success of trials of probability p, 0 < p <= 1; an output past the
 * int32 range (p below about 1e-8) is held at 2^31 - 128. */
OXL_API int32_t _vrsiRngGeometric(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                  double p);
/* Successes in ntrial trials of probability p. */
OXL_API int32_t _vrsiRngBinomial(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                 int32_t ntrial, double p);
/* Marked items among s drawn without replacement from a lot of l with m marked: 0 <= s, m <= l. */
OXL_API int32_t _vrsiRngHypergeometric(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                       int32_t l, int32_t s, int32_t m);
/* Failures before the a-th success of trials of probability p: a > 0, 0 < p <= 1, and the law
 * inside the int32 range (its mean plus ten standard deviations below 2^31). */
OXL_API int32_t _vrsiRngNegbinomial(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                    double a, double p);
/* Poisson numbers of mean lambda, 0 <= lambda <= 2e9, by method OXL_RNG_POISSON_PTPE (0) or
 * OXL_RNG_POISSON_POISNORM (1); any other method gives StatusBadMethod. PoissonV takes one mean
 * per output, each checked before anything is drawn. */
#define OXL_RNG_POISSON_PTPE 0
#define OXL_RNG_POISSON_POISNORM 1
OXL_API int32_t _vrsiRngPoisson(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                double lambda);
OXL_API int32_t _vrsiRngPoissonV(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                 const double* lambda);
/* The two methods of _vrsiRngPoisson, without its checks. */
OXL_API int32_t _viRngPoissonPtpe(StreamRecord* stream, int32_t n, int32_t* r, double lambda);
OXL_API int32_t _viRngPoissonPoisNorm(StreamRecord* stream, int32_t n, int32_t* r, double lambda);

/* ---------------------------------------------------------------------------------------------
 * Continuous distributions by transformation. Each turns uniforms into its law in place in r:
 * the uniforms come from _vrsdRngUniform (method 0) of the stream, a vector kernel of a fixed
 * accuracy (EP for double, LA for float) runs over r, and a last pass scales and displaces. They
 * return the uniform source's status. Parameters are not checked. Kernel events (the logarithm of
 * a zero uniform) are absorbed: the thread's mode word and error callback are set for the call
 * and given back on every path, and a logarithm of 0 counts as ln of the smallest denormal
 * (-744.44 for double, -103.28 for float), which cuts the law's tail there. Only Uniform and
 * Lognormal read `method`.
 *   Exponential  a - beta ln(u), at least a
 *   Laplace      a -+ beta ln(u1), the side from a second uniform; blocks of 1024 outputs
 *   Weibull      a + beta (-ln u)^(1/alpha), at least a
 *   Cauchy       a + beta tan(u), u uniform on (-pi/2, pi/2); not guarded
 *   Rayleigh     a + beta sqrt(-ln u), at least a (no factor 2 under the root)
 *   Lognormal    b + beta exp(g), g Gaussian(a, sigma) by BoxMuller2 for method 0 and by ICDF
 *                otherwise; at least b. An overflow of the exponential reaches the caller's mode.
 *   Gumbel       a + beta ln(-ln u): the smallest-extreme law, P(x) = 1 - exp(-exp((x-a)/beta)). */
OXL_API int32_t _vrsdRngExponential(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                    double a, double beta);
OXL_API int32_t _vrssRngExponential(int32_t method, StreamRecord* stream, int32_t n, float* r,
                                    float a, float beta);
OXL_API int32_t _vrsdRngLaplace(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                double a, double beta);
OXL_API int32_t _vrssRngLaplace(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                                float beta);
OXL_API int32_t _vrsdRngWeibull(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                double alpha, double a, double beta);
OXL_API int32_t _vrssRngWeibull(int32_t method, StreamRecord* stream, int32_t n, float* r,
                                float alpha, float a, float beta);
OXL_API int32_t _vrsdRngCauchy(int32_t method, StreamRecord* stream, int32_t n, double* r, double a,
                               double beta);
OXL_API int32_t _vrssRngCauchy(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                               float beta);
OXL_API int32_t _vrsdRngRayleigh(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                 double a, double beta);
OXL_API int32_t _vrssRngRayleigh(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                                 float beta);
OXL_API int32_t _vrsdRngLognormal(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                  double a, double sigma, double b, double beta);
OXL_API int32_t _vrssRngLognormal(int32_t method, StreamRecord* stream, int32_t n, float* r,
                                  float a, float sigma, float b, float beta);
OXL_API int32_t _vrsdRngGumbel(int32_t method, StreamRecord* stream, int32_t n, double* r, double a,
                               double beta);
OXL_API int32_t _vrssRngGumbel(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                               float beta);

/* ---------------------------------------------------------------------------------------------
 * Gamma and Beta, by acceptance-rejection in rounds of at most 512 candidates, with the kernels
 * and the callback framing of the laws above. A shape, or beta, that is not positive and finite
 * gives StatusBadArgs and nothing is drawn or written. Each candidate takes its uniforms in a
 * fixed pattern, so a request split into calls gives the numbers of one call. `method` is not read.
 *   Gamma  a + beta g, g of shape alpha: alpha > 1 Marsaglia-Tsang on Box-Muller normals, whose
 *          unused second normal is held on the stream (chunk id 7 for double, 8 for float);
 *          alpha = 1 Exponential(a, beta) itself; 0.6 <= alpha < 1 rejection from a Weibull
 *          envelope; alpha < 0.6 exp(ln G + ln(U) / alpha), G of shape alpha + 1.
 *   Beta   a + beta x, x of shapes p and q: both below 1 Johnk's method; one below and one above
 *          _Atkinson2; both above Cheng's BB; a shape of exactly 1 by inversion. */
OXL_API int32_t _vrsdRngGamma(int32_t method, StreamRecord* stream, int32_t n, double* r,
                              double alpha, double a, double beta);
OXL_API int32_t _vrssRngGamma(int32_t method, StreamRecord* stream, int32_t n, float* r,
                              float alpha, float a, float beta);
OXL_API int32_t _vrsdRngBeta(int32_t method, StreamRecord* stream, int32_t n, double* r, double p,
                             double q, double a, double beta);
OXL_API int32_t _vrssRngBeta(int32_t method, StreamRecord* stream, int32_t n, float* r, float p,
                             float q, float a, float beta);
/* Beta's worker for one shape below 1 and the other above (Atkinson and Whittaker's switching
 * method), with its own callback framing; other shapes give StatusBadArgs. */
OXL_API int32_t _Atkinson2(StreamRecord* stream, int32_t n, double* r, double p, double q,
                           double a, double beta);

/* ---------------------------------------------------------------------------------------------
 * Gaussian family. Methods of _vrsdRngGaussian and _vrssRngGaussian:
 *   BOXMULLER   one output per pair of uniforms: sqrt(-2 ln u1) sin(2 pi u2)
 *   BOXMULLER2  two outputs per pair, sine then cosine; an odd count keeps the pair's uniforms on
 *               the stream (chunk id 2 for double, 1 for float), whose cosine partner is the first
 *               output of the next call, so the sequence does not depend on how calls split it.
 *               The pending pair travels with stream copies and images.
 *   ICDF        a + sigma sqrt(2) erfinv(u), u uniform on (-1, 1); u of exactly -1 or 1 gives
 *               -+5.8635847487551676 (float: 3.8325069) in place of the infinity.
 * A method outside 0..2 returns StatusBadMethod and draws nothing. */
#define OXL_RNG_GAUSSIAN_BOXMULLER 0
#define OXL_RNG_GAUSSIAN_BOXMULLER2 1
#define OXL_RNG_GAUSSIAN_ICDF 2

OXL_API int32_t _vrsdRngGaussian(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                 double a, double sigma);
OXL_API int32_t _vrssRngGaussian(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                                 float sigma);
/* The three workers, as _vrsdRngGaussian reaches them (without its mode and callback framing). */
OXL_API int32_t _vdRngGaussianBoxMuller(StreamRecord* stream, int32_t n, double* r, double a,
                                        double sigma);
OXL_API int32_t _vdRngGaussianBoxMuller2(StreamRecord* stream, int32_t n, double* r, double a,
                                         double sigma);
OXL_API int32_t _vdRngGaussianICDF(StreamRecord* stream, int32_t n, double* r, double a,
                                   double sigma);
OXL_API int32_t _vsRngGaussianBoxMuller(StreamRecord* stream, int32_t n, float* r, float a,
                                        float sigma);
OXL_API int32_t _vsRngGaussianBoxMuller2(StreamRecord* stream, int32_t n, float* r, float a,
                                         float sigma);
OXL_API int32_t _vsRngGaussianICDF(StreamRecord* stream, int32_t n, float* r, float a, float sigma);

/* Error callbacks of the Gaussian entries: a pole of the logarithm (argument 0) becomes
 * ln(smallest denormal); erfinv at or past -1 or 1 becomes -+5.8635847487551676 (float bits
 * 0x407547CB with the argument's sign). Other events pass untouched. Both return 0. */
struct oxl_vek_error_record;
OXL_API int32_t _vdCallBack(struct oxl_vek_error_record* record);
OXL_API int32_t _vsCallBack(struct oxl_vek_error_record* record);

/* Storage of the factor t of _vrsdRngGaussianMV. */
enum {
  MatrixFull = 0,    /* dimen by dimen, the lower-triangular factor read by rows */
  MatrixPacked = 1,  /* the lower factor packed by columns (BLAS 'L' packing) */
  MatrixDiagonal = 2 /* the dimen diagonal entries */
};

/* n vectors of dimen components, one after the other: mean a plus t times a vector of unit
 * normals drawn by `method`, so that their covariance is t t^T. dimen 1 is Gaussian(a[0], t[0])
 * whatever the storage. Another storage value leaves the unit normals and returns the status. */
OXL_API int32_t _vrsdRngGaussianMV(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                   int32_t dimen, int32_t mstorage, const double* a,
                                   const double* t);
OXL_API int32_t _vrssRngGaussianMV(int32_t method, StreamRecord* stream, int32_t n, float* r,
                                   int32_t dimen, int32_t mstorage, const float* a, const float* t);

OXL_EXTERN_C_END

#endif /* OXL_VRS_H */
