// What the C files of the matrix share.
#pragma once

enum colour { RED = -1, GREEN, BLUE = 7 };

int use_records(int n);
int use_blocks(int n);
int use_frames(int n);

static inline int clamp(int value, int low, int high)
{
    int result = value < low ? low : value;
    return result > high ? high : result;
}
