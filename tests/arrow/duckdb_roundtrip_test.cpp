// Round trips with a real counterpart, DuckDB's C library: its query results
// exported as Arrow and read by zvq_seq_from_arrow agree with its own SQL;
// arrays of zvq_seq_to_arrow, plain and run-end encoded, scanned by DuckDB
// give back what was sent.
//
// libduckdb.so is found at $ZVQ_DUCKDB_LIB or where `make duckdb` puts it.
// Absent, every test says so loudly and skips, unless ZVQ_REQUIRE_DUCKDB=1
// makes that a failure.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "arrow/arrow_support.hpp"
#include "support/duckdb_api.h"

namespace zvq::test {
namespace {

class DuckDB : public ::testing::Test {
   protected:
    static void SetUpTestSuite() {
        const char* path = zvq_duckdb_path(ZVQ_DUCKDB_DEFAULT);
        if (!zvq_duckdb_load(&api_, path)) {
            std::fprintf(stderr,
                         "\n*** DuckDB NOT FOUND at %s: the Arrow round trips with DuckDB are NOT RUN.\n"
                         "*** Run `make duckdb` (or set ZVQ_DUCKDB_LIB) to fetch it.\n\n",
                         path);
            return;
        }
        if (api_.open(nullptr, &db_) != 0 || api_.connect(db_, &con_) != 0) api_.handle = nullptr;
    }
    static void TearDownTestSuite() {
        if (api_.handle == nullptr) return;
        api_.disconnect(&con_);
        api_.close(&db_);
    }
    void SetUp() override {
        if (api_.handle != nullptr) return;
        const char* required = std::getenv("ZVQ_REQUIRE_DUCKDB");
        if (required != nullptr && std::string(required) == "1") FAIL() << "DuckDB is required but absent";
        GTEST_SKIP() << "DuckDB absent";
    }

    static void exec(const std::string& sql) {
        duckdb_result_rec res{};
        const int state = api_.query(con_, sql.c_str(), &res);
        EXPECT_EQ(state, 0) << sql << ": " << (api_.result_error(&res) ? api_.result_error(&res) : "");
        api_.destroy_result(&res);
    }
    // The first row of a query, each column as int64 or double.
    static std::vector<int64_t> ints(const std::string& sql, int columns) {
        duckdb_result_rec res{};
        EXPECT_EQ(api_.query(con_, sql.c_str(), &res), 0) << sql << ": " << api_.result_error(&res);
        std::vector<int64_t> out;
        for (int c = 0; c < columns; ++c) out.push_back(api_.value_int64(&res, c, 0));
        api_.destroy_result(&res);
        return out;
    }
    static double real(const std::string& sql) {
        duckdb_result_rec res{};
        EXPECT_EQ(api_.query(con_, sql.c_str(), &res), 0) << sql << ": " << api_.result_error(&res);
        const double v = api_.value_double(&res, 0, 0);
        api_.destroy_result(&res);
        return v;
    }

    static zvq_duckdb api_;
    static duckdb_database_h db_;
    static duckdb_connection_h con_;
};

zvq_duckdb DuckDB::api_{};
duckdb_database_h DuckDB::db_ = nullptr;
duckdb_connection_h DuckDB::con_ = nullptr;

// Sum and element count of a source, by runs: what an aggregate computes,
// in a type that holds every column's sum exactly.
struct Totals {
    long double sum = 0;
    uint64_t elements = 0;
    uint64_t runs = 0;
};

constexpr uint64_t kEpoch2024ns = 1704067200ull * 1000000000ull;

long double value_as_real(const zvq_seq_iterator& r, uint32_t i) {
    switch (r.elem_type) {
        case ZVQ_SEQ_TYPE_UINT1: return value_at<uint8_t>(r, i);
        case ZVQ_SEQ_TYPE_UINT2: return value_at<uint16_t>(r, i);
        case ZVQ_SEQ_TYPE_UINT4: return value_at<uint32_t>(r, i);
        case ZVQ_SEQ_TYPE_UINT8: return value_at<uint64_t>(r, i);
        case ZVQ_SEQ_TYPE_INT1: return value_at<int8_t>(r, i);
        case ZVQ_SEQ_TYPE_INT2: return value_at<int16_t>(r, i);
        case ZVQ_SEQ_TYPE_INT4: return value_at<int32_t>(r, i);
        case ZVQ_SEQ_TYPE_INT8: return value_at<int64_t>(r, i);
        case ZVQ_SEQ_TYPE_FLOAT: return value_at<float>(r, i);
        case ZVQ_SEQ_TYPE_DOUBLE: return value_at<double>(r, i);
        default: return static_cast<long double>(value_at<uint64_t>(r, i) - kEpoch2024ns);
    }
}

Totals totals_of(const ArrowSchema& schema, const ArrowArray& array) {
    zvq_seq_iterator r{};
    Totals t;
    EXPECT_EQ(zvq_seq_from_arrow(&r, &schema, &array), SEQ_OK) << schema.format;
    while (r.next(&r) == SEQ_OK) {
        for (uint32_t i = 0; i < r.chunk_count; ++i) {
            t.sum += value_as_real(r, i) * repeat_at(r, i);
            t.elements += repeat_at(r, i);
        }
        t.runs += r.chunk_count;
    }
    return t;
}

// Columns of every supported type; timestamps count from 2024 so that their
// sums fit 64 bits in nanoseconds.
constexpr const char* kTable =
    "CREATE OR REPLACE TABLE t AS SELECT i, (i % 100 - 50)::TINYINT AS i1, (i % 200)::UTINYINT AS u1,"
    " (i // 7 - 300)::SMALLINT AS i2, (i // 7)::USMALLINT AS u2, (i * 3 - 5000)::INTEGER AS i4,"
    " (i // 13)::UINTEGER AS u4, (i * 1000003 - 7)::BIGINT AS i8, (i * 1000003)::UBIGINT AS u8,"
    " (i / 4)::FLOAT AS f4, (i / 8)::DOUBLE AS f8, (i % 3 = 0) AS b,"
    " TIMESTAMP '2024-01-01' + to_seconds(i // 10) AS tu, (TIMESTAMP '2024-01-01' + to_seconds(i // 10))::TIMESTAMP_S AS ts,"
    " (TIMESTAMP '2024-01-01' + to_milliseconds(i))::TIMESTAMP_MS AS tm, (TIMESTAMP '2024-01-01' + to_microseconds(i))::TIMESTAMP_NS AS tn"
    " FROM range(5000) r(i)";
const char* const kColumns[] = {"i1", "u1", "i2", "u2", "i4", "u4", "i8", "u8", "f4", "f8", "b", "tu", "ts", "tm", "tn"};

std::string sql_sum(const std::string& col) {
    if (col == "b") return "sum(b::INTEGER)::DOUBLE";
    if (col[0] == 't') return "sum(epoch_ns(" + col + ") - epoch_ns(TIMESTAMP '2024-01-01'))::DOUBLE";
    return "sum(" + col + ")::DOUBLE";
}

// A query exported as Arrow, one struct array per chunk.
struct ArrowResult {
    zvq_duckdb& api;
    duckdb_arrow_h result = nullptr;
    ArrowSchema schema{};
    ArrowResult(zvq_duckdb& a, duckdb_connection_h con, const std::string& sql) : api(a) {
        EXPECT_EQ(api.query_arrow(con, sql.c_str(), &result), 0) << sql;
        ArrowSchema* out = &schema;
        EXPECT_EQ(api.query_arrow_schema(result, &out), 0);
    }
    bool next(ArrowArray& array) {
        array = {};
        ArrowArray* out = &array;
        EXPECT_EQ(api.query_arrow_array(result, &out), 0);
        return array.release != nullptr && array.length > 0;
    }
    ~ArrowResult() {
        if (schema.release) schema.release(&schema);
        api.destroy_arrow(&result);
    }
};

TEST_F(DuckDB, ExportedColumnsOfEveryTypeSumAsDuckDBSums) {
    exec(kTable);
    ArrowResult res(api_, con_, "SELECT * FROM t ORDER BY i");
    ASSERT_EQ(res.schema.n_children, 16);
    std::vector<Totals> got(16);
    ArrowArray chunk;
    while (res.next(chunk)) {
        for (int k = 1; k < 16; ++k) {
            const Totals t = totals_of(*res.schema.children[k], *chunk.children[k]);
            got[k].sum += t.sum;
            got[k].elements += t.elements;
        }
        chunk.release(&chunk);
    }
    for (int k = 1; k < 16; ++k) {
        const std::string col = kColumns[k - 1];
        EXPECT_EQ(got[k].elements, 5000u) << col;
        EXPECT_EQ(static_cast<double>(got[k].sum), real("SELECT " + sql_sum(col) + " FROM t")) << col;
    }
}

// A slice: offset 100 and length 800 of a 1,000-row chunk, for every column.
TEST_F(DuckDB, OffsetSlicesSumAsTheRowsTheyCover) {
    exec(kTable);
    for (const char* column : kColumns) {
        const std::string col = column;
        ArrowResult res(api_, con_, "SELECT " + col + " FROM t ORDER BY i LIMIT 1000");
        ArrowArray chunk;
        ASSERT_TRUE(res.next(chunk));
        ASSERT_EQ(chunk.length, 1000);
        ArrowArray slice = *chunk.children[0];
        slice.offset += 100;
        slice.length = 800;
        const Totals t = totals_of(*res.schema.children[0], slice);
        EXPECT_EQ(t.elements, 800u) << col;
        EXPECT_EQ(static_cast<double>(t.sum),
                  real("SELECT " + sql_sum(col) + " FROM (SELECT * FROM t ORDER BY i LIMIT 800 OFFSET 100)"))
            << col;
        chunk.release(&chunk);
    }
}

// An exported array as the one column x of a struct DuckDB scans once.
struct Handed {
    ArrowSchema parent_schema{};
    ArrowArray parent_array{};
    ArrowSchema* schema_children[1];
    ArrowArray* array_children[1];
    const void* parent_buffers[1] = {nullptr};
    ArrowSchema schema{};
    ArrowArray array{};

    void wrap() {
        schema.name = "x";
        schema_children[0] = &schema;
        array_children[0] = &array;
        parent_schema = {"+s", "", nullptr, 0, 1, schema_children, nullptr, mark_released, nullptr};
        parent_array = {array.length, 0, 0, 1, 1, parent_buffers, array_children, nullptr, mark_released, nullptr};
    }
    ~Handed() {
        if (schema.release) schema.release(&schema);
        if (array.release) array.release(&array);
    }
};

template <class V>
std::vector<V> stretches(size_t n, int64_t base) {
    std::vector<V> v(n);
    for (size_t k = 0; k < n; ++k) v[k] = static_cast<V>(base + static_cast<int64_t>((k / 37) % 90));
    return v;
}

template <class V>
void hand_back(zvq_duckdb& api, duckdb_connection_h con, zvq_seq_status (*encode)(zvq_seq_iterator*, const V*, uint64_t),
               const char* format, int64_t base, const char* sql_value) {
    const std::vector<V> data = stretches<V>(10000, base);
    long double sum = 0;
    for (V v : data) sum += static_cast<long double>(v);
    for (uint32_t flags : {0u, ZVQ_SEQ_ARROW_RUN_END}) {
        Handed h;
        zvq_seq_iterator src{};
        ASSERT_EQ(encode(&src, data.data(), data.size()), SEQ_OK);
        ASSERT_EQ(zvq_seq_to_arrow(&src, &h.schema, &h.array, flags), SEQ_OK);
        const ArrowSchema& leaf = flags ? *h.schema.children[1] : h.schema;
        EXPECT_STREQ(leaf.format, format);
        h.wrap();
        duckdb_arrow_stream_h stream = nullptr;
        ASSERT_EQ(api.arrow_array_scan(con, "v", &h.parent_schema, &h.parent_array, &stream), 0) << format;
        const std::string sql = std::string("SELECT count(*), sum(") + sql_value + ")::DOUBLE, min(" + sql_value +
                                ")::DOUBLE, max(" + sql_value + ")::DOUBLE FROM v";
        duckdb_result_rec res{};
        ASSERT_EQ(api.query(con, sql.c_str(), &res), 0) << sql << ": " << api.result_error(&res);
        EXPECT_EQ(api.value_int64(&res, 0, 0), 10000) << format << " flags " << flags;
        EXPECT_EQ(api.value_double(&res, 1, 0), static_cast<double>(sum)) << format << " flags " << flags;
        EXPECT_EQ(api.value_double(&res, 2, 0), static_cast<double>(base)) << format;
        EXPECT_EQ(api.value_double(&res, 3, 0), static_cast<double>(base + 89)) << format;
        api.destroy_result(&res);
        api.destroy_arrow_stream(&stream);
    }
}

// Sums stay below 2^53, so that DuckDB's double and ours are exact.
TEST_F(DuckDB, ArraysHandedBackReadAsSent) {
    hand_back<uint8_t>(api_, con_, zvq_seq_encode_uint1, "C", 100, "x");
    hand_back<uint16_t>(api_, con_, zvq_seq_encode_uint2, "S", 60000, "x");
    hand_back<uint32_t>(api_, con_, zvq_seq_encode_uint4, "I", 4000000000, "x");
    hand_back<uint64_t>(api_, con_, zvq_seq_encode_uint8, "L", 100000000000, "x");
    hand_back<int8_t>(api_, con_, zvq_seq_encode_int1, "c", -100, "x");
    hand_back<int16_t>(api_, con_, zvq_seq_encode_int2, "s", -30000, "x");
    hand_back<int32_t>(api_, con_, zvq_seq_encode_int4, "i", -2000000000, "x");
    hand_back<int64_t>(api_, con_, zvq_seq_encode_int8, "l", -50000000000, "x");
    hand_back<float>(api_, con_, zvq_seq_encode_float, "f", -40, "x");
    hand_back<double>(api_, con_, zvq_seq_encode_double, "g", 7, "x");
    hand_back<uint64_t>(api_, con_, zvq_seq_encode_datetime, "tsn:", 1000000, "epoch_ns(x)");
}

TEST_F(DuckDB, FixedWidthBytesHandedBack) {
    std::string items;
    for (int k = 0; k < 3000; ++k) items += k < 1000 ? "abc" : k < 2999 ? "xyz" : "abd";
    for (uint32_t flags : {0u, ZVQ_SEQ_ARROW_RUN_END}) {
        Handed h;
        zvq_seq_iterator src{};
        ASSERT_EQ(zvq_seq_encode_char(&src, items.data(), 3000, 3), SEQ_OK);
        ASSERT_EQ(zvq_seq_to_arrow(&src, &h.schema, &h.array, flags), SEQ_OK);
        h.wrap();
        duckdb_arrow_stream_h stream = nullptr;
        ASSERT_EQ(api_.arrow_array_scan(con_, "w", &h.parent_schema, &h.parent_array, &stream), 0);
        const auto row = ints(
            "SELECT count(*), count(DISTINCT x), sum(octet_length(x)), count(*) FILTER (WHERE x = 'xyz'::BLOB) FROM w",
            4);
        EXPECT_EQ(row, (std::vector<int64_t>{3000, 3, 9000, 1999})) << flags;
        api_.destroy_arrow_stream(&stream);
    }
}

}  // namespace
}  // namespace zvq::test
