#pragma once

/// \file
/// Effects that no catalogue has, with a field of every sort and odd ways to return.

#include "catalogue/effect.h"
#include <cstdint>
#include <span>

namespace velmont::test {

/// The record of `blend`.
struct BlendRecord {
    int32_t amount;  ///< -10 to 10, default 3
    float ratio;     ///< 0 to 1, default 0.25
    uint32_t colour; ///< default 0x00332211: #112233
    int32_t mode;    ///< soft 1, hard 2; default soft
};

/// `blend` with four fields, `plain` with none, `masked` with two pictures beside the image; none is ever called.
std::span<const catalogue::Effect> madeUpEffects();
const catalogue::Effect &blend();

/// Effects to be called. Each accepts every depth.
const catalogue::Effect &returnsNothing();
/// Returns the handle that it was given.
const catalogue::Effect &returnsItsSource();
/// Returns a copy after filling its record, of one int, with 1.
const catalogue::Effect &changesItsRecord();
/// How often the last effect found a record that was changed already.
int changedRecordsSeen();
/// Returns an image of twice the width.
const catalogue::Effect &widens();
/// Returns a copy; said to move pixels by their places, and takes 24 bits alone.
const catalogue::Effect &movesPixels();
/// Returns a 24-bit image of twice the width; said to move pixels by their places, of 24 bits and gray.
const catalogue::Effect &widensIntoColour();
/// Returns a 24-bit image itself and the negative of a gray one; said to move pixels by their places.
const catalogue::Effect &invertsGrayOnly();
/// `masked`: reads an alpha mask, `mask`, and makes another, `made`, its negative; returns a copy.
const catalogue::Effect &invertsItsMask();
/// Returns a copy of its bit mask, `bits`.
const catalogue::Effect &returnsItsBits();
/// Returns a copy of its picture: a picture, one of the image's depth, or an alpha mask of any size.
const catalogue::Effect &returnsItsOperand(catalogue::OperandKind kind);
/// Sends the program SIGTERM and returns a copy.
const catalogue::Effect &interrupts();

} // namespace velmont::test
