    .section .rodata
    .global nimbrelRecordingBegin
    .global nimbrelRecordingEnd
nimbrelRecordingBegin:
    .incbin "examples/walk.btsnoop"
nimbrelRecordingEnd:
    .global nimbrelScenarioBegin
    .global nimbrelScenarioEnd
nimbrelScenarioBegin:
    .incbin "examples/day.jsonl"
nimbrelScenarioEnd:
    .byte 0
    .section .note.GNU-stack, "", %progbits
