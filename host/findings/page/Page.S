    .section .rodata
    .global nimbrelPageHeadBegin
    .global nimbrelPageHeadEnd
nimbrelPageHeadBegin:
    .incbin "head.html"
nimbrelPageHeadEnd:
    .global nimbrelPageTailBegin
    .global nimbrelPageTailEnd
nimbrelPageTailBegin:
    .incbin "tail.html"
nimbrelPageTailEnd:
    .byte 0
    .section .note.GNU-stack, "", %progbits
