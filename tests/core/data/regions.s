@ Code and data side by side: an instruction that runs into a data region, a table, a call and a supervisor call.
  .syntax unified
  .cpu cortex-m3
  .thumb
  .section .vectors, "a"
  .word 0x20001000, Start + 1
  .text
  .align 2
  .global Start
  .type Start, %function
Start:
  movs r0, #1
  movs r1, #2
  bl Callee
  adds r0, r1
  svc 0
  adds r0, #3
  ldr r2, .Lpool
  b Start
  .align 2
.Lpool:
  .word Table
  .size Start, .-Start
  .type Callee, %function
Callee:
  it eq
  addeq r0, #1
  bx lr
  .size Callee, .-Callee
  .align 2
  .type Clipped, %function
Clipped:
.Lclipped:
  bl Start
  .size Clipped, .-Clipped
  .set $d.clip, .Lclipped + 2
  .align 2
  .type Table, %object
Table:
  .word Start + 1
  .hword 0x1234
  .size Table, .-Table
