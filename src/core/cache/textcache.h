// Formatted texts and counts of instructions that windows ask for again and again.
#pragma once

namespace Core {

/// Drops all texts and counts; they were made from records that have changed.
void DropTexts();

} // namespace Core
