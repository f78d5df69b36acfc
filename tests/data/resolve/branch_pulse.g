# Random STG (seed 24, inputs made outputs): the conflict of its first branch could not be
# resolved while each insertion enabled at one side of a USC-only core was forbidden.
.model random_24
.outputs s1 s2 s3
.internal s0
.graph
p2 s2+/4 s3+/6
p4 s0-/1
s0+/0 s1+/2 p2
s0-/1 s0+/0
s1+/2 s1-/3
s1-/3 s0-/1
s2+/4 s2-/5
s2-/5 p4
s3+/6 s2+/7
s2+/7 s3-/8
s3-/8 s2-/9
s2-/9 p4
.marking { <s0-/1,s0+/0> }
.end
