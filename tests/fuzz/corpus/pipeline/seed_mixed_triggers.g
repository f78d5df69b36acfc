# x+ waits for a+ and for b-: one event with a rising and a falling trigger.
.model mixed_triggers
.inputs a b
.outputs x
.graph
a+ x+
b- x+
x+ a- b+
a- x-
b+ x-
x- a+ b-
.marking {<x-,a+> <x-,b->}
.end
