# Two frames of one shape, each with an exception handler of its own (Frames.cpp). Both keep every non-volatile
# register: when a handler unwinds to the landing label, no frame in between has restored them for us.
#
#   std::uint32_t Kzr<Which>Frame(void (*thunk)(void*), void* context)
#
# Answers 0, or at the landing label the exception code that the handler put into eax.

    .intel_syntax noprefix
    .text

.macro FRAME name, landing, handler
    .globl  \name
    .globl  \landing
    .def    \name; .scl 2; .type 32; .endef
    .seh_proc \name
    .seh_handler \handler, @except
\name:
    push    rbp
    .seh_pushreg rbp
    push    rbx
    .seh_pushreg rbx
    push    rsi
    .seh_pushreg rsi
    push    rdi
    .seh_pushreg rdi
    push    r12
    .seh_pushreg r12
    push    r13
    .seh_pushreg r13
    push    r14
    .seh_pushreg r14
    push    r15
    .seh_pushreg r15
    sub     rsp, 200
    .seh_stackalloc 200
    movaps  [rsp+32], xmm6
    .seh_savexmm xmm6, 32
    movaps  [rsp+48], xmm7
    .seh_savexmm xmm7, 48
    movaps  [rsp+64], xmm8
    .seh_savexmm xmm8, 64
    movaps  [rsp+80], xmm9
    .seh_savexmm xmm9, 80
    movaps  [rsp+96], xmm10
    .seh_savexmm xmm10, 96
    movaps  [rsp+112], xmm11
    .seh_savexmm xmm11, 112
    movaps  [rsp+128], xmm12
    .seh_savexmm xmm12, 128
    movaps  [rsp+144], xmm13
    .seh_savexmm xmm13, 144
    movaps  [rsp+160], xmm14
    .seh_savexmm xmm14, 160
    movaps  [rsp+176], xmm15
    .seh_savexmm xmm15, 176
    .seh_endprologue
    mov     rax, rcx
    mov     rcx, rdx
    call    rax
    xor     eax, eax
\landing:
    movaps  xmm6, [rsp+32]
    movaps  xmm7, [rsp+48]
    movaps  xmm8, [rsp+64]
    movaps  xmm9, [rsp+80]
    movaps  xmm10, [rsp+96]
    movaps  xmm11, [rsp+112]
    movaps  xmm12, [rsp+128]
    movaps  xmm13, [rsp+144]
    movaps  xmm14, [rsp+160]
    movaps  xmm15, [rsp+176]
    add     rsp, 200
    pop     r15
    pop     r14
    pop     r13
    pop     r12
    pop     rdi
    pop     rsi
    pop     rbx
    pop     rbp
    ret
    .seh_endproc
.endm

    FRAME KzrForeignFrame, KzrForeignLanding, KzrForeignHandler
    FRAME KzrOwnFrame, KzrOwnLanding, KzrOwnHandler

# Entered as if the faulting instruction had called it, with the exception code in ecx. A fault may find the stack
# pointer at any alignment, so the frame hangs on rbp and aligns for itself.
    .globl  KzrThrowAtFault
    .def    KzrThrowAtFault; .scl 2; .type 32; .endef
    .seh_proc KzrThrowAtFault
KzrThrowAtFault:
    push    rbp
    .seh_pushreg rbp
    mov     rbp, rsp
    .seh_setframe rbp, 0
    .seh_endprologue
    and     rsp, -16
    sub     rsp, 32
    call    KzrThrowFault
    nop
    .seh_endproc
