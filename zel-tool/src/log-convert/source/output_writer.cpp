#include "output_writer.h"

#include <iostream>
#include <utility>

#include "standard_output.h"

namespace zel::clt {

OutputWriter::OutputWriter()
    : worker_([this] {
          std::cout.write(inFlight_.Data(), static_cast<std::streamsize>(inFlight_.Size()));  // Drain flushes
      }) {}

bool OutputWriter::Post(LineBuffer& lines) {
    worker_.Wait();
    std::swap(inFlight_, lines);
    lines.Clear();  // the piece written before, kept for its room
    worker_.Start();
    return !StandardOutputFailed();
}

bool OutputWriter::Write(LineBuffer& lines) {
    worker_.Wait();
    std::cout.write(lines.Data(), static_cast<std::streamsize>(lines.Size()));
    lines.Clear();
    return !StandardOutputFailed();
}

void OutputWriter::Drain() {
    worker_.Wait();
    std::cout.flush();
}

}  // namespace zel::clt
