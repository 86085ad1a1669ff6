// The text line of one decoded record:
//
//   [data time ][storage time ]counter apid ctid level [payload]
//
// The counter has three digits; apid, ctid and level are three blanks when the record has no
// extended header; the level is the log level's name, the message type for other messages, or
// "unknown". Each time stamp is there when its flag is set.
#ifndef ZEL_CLT_RECORD_LINE_H
#define ZEL_CLT_RECORD_LINE_H

#include "ara/log/log_storage_msg.h"
#include "line_buffer.h"

namespace zel::clt {

void AppendRecordLine(const ara::log::LogStorageMsg& msg, bool datatime, bool manatime, LineBuffer& out);

}  // namespace zel::clt

#endif  // ZEL_CLT_RECORD_LINE_H
