    .section .rodata
    .global nimbrelRecordingBegin
    .global nimbrelRecordingEnd
nimbrelRecordingBegin:
    .incbin "example/walk.btsnoop"
nimbrelRecordingEnd:
    .global nimbrelScenarioBegin
    .global nimbrelScenarioEnd
nimbrelScenarioBegin:
    .incbin "example/day.jsonl"
nimbrelScenarioEnd:
    .byte 0
    .section .note.GNU-stack, "", %progbits
