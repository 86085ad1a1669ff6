// Writes a version 1 DLT file through libdlt itself, the public DLT library, with one record per
// kind of verbose argument, so that our decoder can be compared with dlt-convert on records that
// the reference implementation produced. Usage: dlt_peer_writer FILE
#include <dlt/dlt.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

DltContext ctx;

template <typename F>
void Record(DltLogLevelType level, F&& fill) {
    DltContextData data;
    if (dlt_user_log_write_start(&ctx, &data, level) > 0) {
        fill(data);
        dlt_user_log_write_finish(&data);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    dlt_log_init(DLT_LOG_DROPPED);
    if (dlt_init_file(argv[1]) < 0 || dlt_set_filesize_max(UINT32_MAX) < 0) {
        return 1;
    }
    dlt_register_app("PEER", "peer writer");
    dlt_register_context_ll_ts(&ctx, "ARGS", "argument kinds", DLT_LOG_VERBOSE, DLT_TRACE_STATUS_ON);
    dlt_verbose_mode();

    Record(DLT_LOG_FATAL, [](DltContextData& d) { dlt_user_log_write_string(&d, "plain string"); });
    Record(DLT_LOG_ERROR, [](DltContextData& d) {
        dlt_user_log_write_string(&d, "cr\rlf\nend");
        dlt_user_log_write_utf8_string(&d, "utf8 \xc3\xa4\xc3\xb6");
        dlt_user_log_write_string(&d, "");
    });
    Record(DLT_LOG_WARN, [](DltContextData& d) {
        dlt_user_log_write_bool(&d, 1);
        dlt_user_log_write_bool(&d, 0);
        dlt_user_log_write_int8(&d, -8);
        dlt_user_log_write_int16(&d, -1600);
        dlt_user_log_write_int32(&d, -320000);
        dlt_user_log_write_int64(&d, -6400000000LL);
    });
    Record(DLT_LOG_INFO, [](DltContextData& d) {
        dlt_user_log_write_uint8(&d, 200);
        dlt_user_log_write_uint16(&d, 60000);
        dlt_user_log_write_uint32(&d, 4000000000U);
        dlt_user_log_write_uint64(&d, 18000000000000000000ULL);
    });
    Record(DLT_LOG_DEBUG, [](DltContextData& d) {
        dlt_user_log_write_float32(&d, 3.25f);
        dlt_user_log_write_float64(&d, -1.0e-300);
        dlt_user_log_write_float64(&d, 123456789.0);
    });
    Record(DLT_LOG_VERBOSE, [](DltContextData& d) {
        uint8_t raw[] = {0xde, 0xad, 0xbe, 0xef, 0x00, 0x7f};
        dlt_user_log_write_raw(&d, raw, sizeof(raw));
        dlt_user_log_write_raw(&d, raw, 0);
    });
    Record(DLT_LOG_INFO, [](DltContextData& d) {
        dlt_user_log_write_uint8_formatted(&d, 0xab, DLT_FORMAT_HEX8);
        dlt_user_log_write_uint16_formatted(&d, 0xabc, DLT_FORMAT_HEX16);
        dlt_user_log_write_uint32_formatted(&d, 0xabcdef, DLT_FORMAT_HEX32);
        dlt_user_log_write_uint64_formatted(&d, 0x123456789ULL, DLT_FORMAT_HEX64);
    });
    Record(DLT_LOG_INFO, [](DltContextData& d) {
        dlt_user_log_write_uint8_formatted(&d, 0xa5, DLT_FORMAT_BIN8);
        dlt_user_log_write_uint16_formatted(&d, 0x1234, DLT_FORMAT_BIN16);
    });
    Record(DLT_LOG_INFO, [](DltContextData& d) {
        uint8_t raw[] = {0x01, 0x02};
        dlt_user_log_write_raw_formatted(&d, raw, sizeof(raw), DLT_FORMAT_HEX16);
    });
    Record(DLT_LOG_INFO, [](DltContextData& d) {
        dlt_user_log_write_int32_attr(&d, -5, "speed", "km/h");
        dlt_user_log_write_string_attr(&d, "text", "label");
        dlt_user_log_write_bool_attr(&d, 1, "flag");
    });
    Record(DLT_LOG_WARN, [](DltContextData& d) {
        dlt_user_log_write_constant_string(&d, "constant");
        dlt_user_log_write_int(&d, 42);
        dlt_user_log_write_uint(&d, 43);
    });
    dlt_unregister_context(&ctx);
    dlt_unregister_app();
    dlt_free();
    return 0;
}
