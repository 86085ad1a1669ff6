// PipeRoom against the kernel's pipes: the room it counts is taken whole.
#include "pipe_room.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace zel::clt {

// Whatever the sizes written before and however much of them was read (a page partly read, a
// write's last page partly filled, pages topped up), a non-blocking write of the room goes whole.
TEST(PipeRoomTest, ANonBlockingWriteOfTheRoomGoesWhole) {
    const long p = sysconf(_SC_PAGESIZE);
    // n > 0 writes n bytes, n < 0 reads -n
    const std::vector<std::vector<long>> rows{{p / 2 + 1, p / 2 + 1, p / 2 + 1},
                                              {1, 3 * p + 1, 5, -2},
                                              {10 * p + 7, p - 1, -(p + 3)},
                                              {8 * p + 1, -(8 * p + 1), 8 * p + 1, 5 * p, -100}};
    for (const std::vector<long>& steps : rows) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
        PipeRoom room(static_cast<std::size_t>(p));
        std::string bytes(static_cast<std::size_t>(fcntl(ends[1], F_GETPIPE_SZ)), 'x');
        for (const long n : steps) {
            if (n < 0) {
                ASSERT_EQ(read(ends[0], &bytes[0], -n), -n);
                continue;
            }
            room.Room(bytes.size(), 0);  // asked before each write, as the writer does
            ASSERT_EQ(write(ends[1], bytes.data(), n), n);
            room.Wrote(static_cast<std::size_t>(n));
        }
        int unread = 0;
        ASSERT_EQ(ioctl(ends[0], FIONREAD, &unread), 0);
        const std::size_t free = room.Room(bytes.size(), static_cast<std::size_t>(unread));
        EXPECT_GT(free, 0u);
        EXPECT_EQ(write(ends[1], bytes.data(), free), static_cast<ssize_t>(free)) << steps.size() << " steps";
        close(ends[0]);
        close(ends[1]);
    }
}

}  // namespace zel::clt
