# Entry a is in g, in h which is nested in g, and in x; b in h and, through it, once; c in x. The record names the group
# of the properties.
> a=a b=b c=c x_a=x h_a=h g_a=g h_b=h x_c=x a_property[x_a h_a g_a] b_property[h_b] c_property[x_c] g[+h a] h[b a]
> x[a c]
export_group {g,h-export_property,h-export_property-export_entry} = handle export_begin(2) get_entry(b,)
    export_entry(0,handle,b,b) get_property(h_b,)@h export_property(0,0,handle,h)@h get_entry(a,)
    export_entry(1,handle,a,a) get_property(h_a,)@h export_property(1,1,handle,h)@h get_property(g_a,)
    export_property(1,2,handle,g) at g | handle export_begin(2) get_entry(b,) export_entry(0,handle,b,b) get_entry(a,)
    export_entry(1,handle,a,a) at h | handle export_begin(2) at h

# An empty group gives its handle. What the store cannot retrieve is not exported: loops, a group on two paths, a group
# that is not there.
> g[] h[+g gone] i[+i] k[+gone] w[+g +h]
export_group {g,h,missing,i,k,w} = handle export_begin(0) at g | handle export_begin(0) at h | null 22 at missing | null
    19 at i | null 19 at k | null 19 at w

# An entry without a group for its properties ends it, one with an empty group or properties of other groups does not.
> a=a b=b c=c d=d {m*64} a_property[] g_c=c {n*63}=n k_{n*63} c_property[{p*136} g_c] d_property[+d_property]
> {n*63}_property[k_{n*63}] g[a c] h[a b] i[d] k[{n*63}] l[{m*64}]
export_group {g,h,i,k,l} = handle export_begin(2) get_entry(a,) export_entry(0,handle,a,a) get_entry(c,)
    export_entry(1,handle,c,c) get_property(g_c,) export_property(1,0,handle,c) at g | null export_begin(2)
    get_entry(a,) export_entry(0,handle,a,a) get_entry(b,) export_entry(1,handle,b,b) export_discard(handle) at h | null
    export_begin(1) get_entry(d,) export_entry(0,handle,d,d) export_discard(handle) at i | handle export_begin(1)
    get_entry({n*63},) export_entry(0,handle,{n*63},n) get_property(k_{n*63},) export_property(0,0,handle,) at k | null
    export_begin(1) get_entry({m*64},) export_discard(handle) at l

# Whose property is it? Depth first: top holds one, which holds deep, and two.
> top[+one a +two] one[a +deep] deep[a] two[]
> <group name="a_b" type="t"/><group name="holds" type="t"><container>a_b</container></group>
valid_property {top_a,one_a,deep_a,two_a,none_a,a,_a,"",two-a,two_aa,two_b} top a = 1 - at top | 1 at one | 1 at deep |
    1 at two | 0 at two
valid_property top_a one a = 0 at deep
valid_property {top_x,missing_x} missing x = 0 22 at missing | 1 - at missing
valid_property a_b_c holds {c,b_c} = 1 at a_b | 0 at a_b
valid_property a_b_c a b_c = 1 - at a

# A member that cannot be read ends its group.
> top[+one +two] one[+{n*63} +{m*64} +after] after[] {m*64}[] {n*63}[+gone]
> <group name="two" type="t"><container></container><container>after</container></group>
valid_property {after_a,{m*64}_a,gone_a} top a = 0 20 at two | ^ | 1 at gone
valid_property {n*63}_{n*63} top {n*63} = 1 at {n*63}
valid_property top_{m*64} top {m*64} = 0 - at top
valid_property none_a one a = 0 22 at gone

# Loops end, and the second path to a chain ends where the first did.
> top[+one +last] one[+two +one] two[+top +one] last[] u[+a +z] z[+a] a[+b] b[+d] d[]
valid_property {last_a,none_a} top a = 1 at last | 0 at last
valid_property none_a {one,u} a = 0 at one | 0 at d

# A search goes down 1,000 levels, and opens 10,000 groups at most, where each level has two paths to the next one.
>* 1001 <group name="g#" type="t"><container>g+</container></group>
>* 30 <group name="l#" type="t"><container>l+</container><container>l+</container></group>
> g1001[] l30[]
valid_property {g1000_a,g1001_a} g0 a = 1 at g1000 | 0 at g1000
valid_property {none_a,l30_a} l0 a = 0 at l1 | 1 at l30
