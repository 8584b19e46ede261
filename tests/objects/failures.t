> <t name="a" refcount="3"><v>1</v></t><t name="b"><v>2</v></t>
> <list name="l" type="t"><entity>a</entity><entity>b</entity></list>
$ every list_list l NULL
0 begin print_name(1,a,3) print_name(2,b,-1) end
  kvio_getattr_entity2 1: -1 .. begin | end
    log can't get reference count: a!
  kvio_getattr_entity2 2: -1 .. print_name(1,a,3) | end
    log can't get reference count: b!
  kvio_name2 1: -1 .. begin | end
    log can't get name for entry 0!
  kvio_name2 2: -1 .. print_name(1,a,3) | end
    log can't get name for entry 1!
  kvio_open_list 1: -1 |
    log System integrity error!
  kvio_retrieve_all 1: -1 .. begin | end
    log List: cannot retrieve entries from list!
  print_name 1: -1 .. print_name(1,a,3) | end
    log can't print entry name: a!
  print_name 2: -1 all
    log can't print entry name: b!
$ every list_list l b
0 begin alloc_entry get_entry(b) print_entry(1,2) free_entry end
  alloc_entry 1: -1 .. alloc_entry | end
    log can't alloc entry: b!
  get_entry 1: -1 .. get_entry(b) | free_entry end
    log can't get entry: b!
  kvio_open_list 1: -1 |
    log System integrity error!
  kvio_retrieve_entity 1: -1 .. alloc_entry | free_entry end
    log can't retrieve entry: b!
  print_entry 1: -1 all
    log can't print entry: b!
$ every list_list2 l
0 begin alloc_entry get_entry(a) print_entry(1,1) get_entry(b) print_entry(2,2) free_entry end
  alloc_entry 1: -1 .. alloc_entry | end
    log can't alloc entry: List!
  get_entry 1: -1 .. get_entry(a) | free_entry end
    log can't get entry: List!
  get_entry 2: -1 .. get_entry(b) | free_entry end
    log can't get entry: List!
  kvio_open_list 1: -1 |
    log System integrity error!
  kvio_retrieve_all 1: -1 .. begin | end
    log List: cannot retrieve entries from list!
  print_entry 1: -1 .. print_entry(1,1) | free_entry end
    log can't print entry: List!
  print_entry 2: -1 all
    log can't print entry: List!
$ every append_list l c 9
0 set_entry(c=9)
    - 3 <list name="l" type="t"><entity>a</entity><entity>b</entity></list>
    + 3 <list name="l" type="t"><entity>a</entity><entity>b</entity><entity>c</entity></list>
    + 4 <t name="c"><v>9</v></t>
  kvio_append 1: -1 |
    log Can't append entry: c!
  kvio_define 1: -1 |
    log Can't define entry: c!
  kvio_open_list 1: -1 |
    log System integrity error!
  kvio_retrieve_entity 1: -1 |
    log Can't retrieve entry: c!
  kvio_size 1: -1 |
  set_entry 1: -1 all
    log Can't set entry: c!
$ every change_list l a 9
0 set_entry(a=9)
    - 1 <t name="a" refcount="3"><v>1</v></t>
    + 1 <t name="a" refcount="3"><v>9</v></t>
  kvio_open_list 1: -1 |
    log System integrity error!
  kvio_retrieve_entity 1: -1 |
    log Can't retrieve entry: a!
  set_entry 1: -1 all
    log Can't set entry: a!
$ every delete_list l a
0
    - 1 <t name="a" refcount="3"><v>1</v></t>
    - 3 <list name="l" type="t"><entity>a</entity><entity>b</entity></list>
    + 2 <list name="l" type="t"><entity>b</entity></list>
  kvio_open_list 1: -1 all
    log System integrity error!
  kvio_remove 1: -1 all
    log Can't remove a
    - 1 <t name="a" refcount="3"><v>1</v></t>
  kvio_undefine 1: -1 all
    log Can't undefine a
$ every get_list l a
0 get_entry(a)
  get_entry 1: -1 all
    log can't get entry: a!
  kvio_open_list 1: -1 |
    log System integrity error!
  kvio_retrieve_entity 1: -1 |
    log can't retrieve entry: a!

# Entry a is in g; b in g and in h, which is nested in g, which is in all. Group k is in none.
> <t name="a" reference="1"><v>1</v></t><t name="b" reference="2"><v>2</v></t>
> <p name="g_a"><v>7</v></p><p name="h_b"><v>9</v></p><p name="g_b"><v>8</v></p>
> <group name="a_property" type="p"><entity>g_a</entity></group>
> <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
> <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
> <group name="h" type="t" reference="1"><entity>b</entity></group>
> <group name="all" type="t"><container>g</container></group><group name="k" type="t" reference="3"/>
$ every list_group g
0 begin alloc_entry get_entry(a) print_entry(a,1) free_entry alloc_property get_property(g_a) print_property(7) free_property print_group(h) alloc_entry get_entry(b) print_entry(b,2) free_entry alloc_property get_property(g_b) print_property(8) free_property end
  alloc_entry 1, alloc_entry 2: 1 .. alloc_entry | end
  alloc_property 1, alloc_property 2: 1 .. alloc_property | end
  get_entry 1: 1 .. get_entry(a) | free_entry end
  get_entry 2: 1 .. get_entry(b) | free_entry end
  get_property 1: 1 .. get_property(g_a) | free_property print_group(h) alloc_entry get_entry(b) print_entry(b,2) free_entry end
  get_property 2: 1 .. get_property(g_b) | free_property end
  kvio_close_group 1: 0 all
  kvio_open_group 1: 1 |
  kvio_regain_index2 1: 1 .. begin | print_group(h) alloc_entry get_entry(b) print_entry(b,2) free_entry end
  kvio_regain_index2 2: 1 .. free_property | alloc_entry get_entry(b) print_entry(b,2) free_entry end
  kvio_regain_index2 3, kvio_retrieve_entity 3: 1 .. print_group(h) | end
  kvio_retrieve_entity 1: 1 .. begin | end
  kvio_retrieve_entity 2, kvio_retrieve_entity 4: 1 .. alloc_property | free_property end
  kvio_size 1: 1 | end
    log Group: cannot get size of group
  print_entry 1, print_entry 2, print_group 1, print_property 1: 1 .. free_entry | end
  print_property 2: 1 all
$ every create_group all n
0
    - 10 <group name="all" type="t"><container>g</container></group>
    + 10 <group name="all" type="t"><container>g</container><container>n</container></group>
    + 12 <group name="n" type="t" reference="0"/>
  kvio_close_group 1, kvio_close_group 2: 0 all
    done
  kvio_create_group 1, kvio_open_group 1: 1 all
  kvio_join 1: 1 all
    + 12 <group name="n" type="t" reference="0"/>
  kvio_setattr_container 1: -18004 all
    + 12 <group name="n" type="t"/>
$ every use_group h
0
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    + 9 <group name="h" type="t" reference="2"><entity>b</entity></group>
  kvio_close_group 1: 0 all
    done
  kvio_getattr_container2 1, kvio_setattr_container 1: -18004 all
  kvio_open_group 1: 1 all
$ every unuse_group h
0
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    + 9 <group name="h" type="t" reference="0"><entity>b</entity></group>
  kvio_close_group 1: 0 all
    done
  kvio_getattr_container2 1, kvio_setattr_container 1: -18004 all
  kvio_open_group 1: 1 all
$ every remove_entry g b
0 alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    - 2 <t name="b" reference="2"><v>2</v></t>
    + 2 <t name="b" reference="1"><v>2</v></t>
    - 5 <p name="g_b"><v>8</v></p>
    - 7 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
    - 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
    + 6 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 7 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container></group>
  alloc_entry 1: 1 .. alloc_entry |
  alloc_property 1: 1 .. alloc_property |
    done, but
    + 5 <p name="g_b"><v>8</v></p>
    - 6 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 7 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  entry_removed 1, property_removed 1: 1 all
    done
  get_entry 1: 1 .. get_entry(b) | free_entry alloc_property get_property(g_b) property_removed(8) free_property
    done
  get_property 1: 1 .. get_property(g_b) | free_property
    done
  kvio_close_group 1, kvio_close_group 2, kvio_size 1: 0 all
    done
  kvio_getattr_entity2 1, kvio_setattr_entity 1: -18004 .. free_entry |
    - 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
    + 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container></group>
  kvio_open_group 1: 1 |
  kvio_open_group 2: 1 all
    done, but
    - 6 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 6 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_remove 1: 1 .. free_entry |
    log Group: cannot remove entry b
  kvio_remove 2: 1 all
    log Group: cannot remove entry b
    done, but
    - 6 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 6 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_retrieve_entity 1: 1 |
    log Group: cannot find entry b
  kvio_retrieve_entity 2: 1 .. free_entry |
    done, but
    + 5 <p name="g_b"><v>8</v></p>
    - 6 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 7 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_undefine 1: 1 all
    done, but
    + 5 <p name="g_b"><v>8</v></p>
    - 6 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 7 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
$ every remove_entry g a
0 alloc_entry get_entry(a) entry_removed(a,1) free_entry alloc_property get_property(g_a) property_removed(7) free_property
    - 1 <t name="a" reference="1"><v>1</v></t>
    - 3 <p name="g_a"><v>7</v></p>
    - 6 <group name="a_property" type="p"><entity>g_a</entity></group>
    - 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
    + 5 <group name="g" type="t" reference="0"><container>h</container><entity>b</entity></group>
  alloc_entry 1: 1 .. alloc_entry |
  alloc_property 1: 1 .. alloc_property |
    done, but
    + 2 <p name="g_a"><v>7</v></p>
    + 5 <group name="a_property" type="p"><entity>g_a</entity></group>
  entry_removed 1, property_removed 1: 1 all
    done
  get_entry 1: 1 .. get_entry(a) | free_entry alloc_property get_property(g_a) property_removed(7) free_property
    done
  get_property 1: 1 .. get_property(g_a) | free_property
    done
  kvio_close_group 1, kvio_close_group 2: 0 all
    done
  kvio_dispose_group 1: 1 all
    done, but
    + 4 <group name="a_property" type="p"/>
  kvio_getattr_entity2 1: -18004 .. free_entry |
    done, but
    + 1 <t name="a" reference="1"><v>1</v></t>
    + 3 <p name="g_a"><v>7</v></p>
    + 6 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_open_group 1: 1 |
  kvio_open_group 2: 1 all
    done, but
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_remove 1: 1 .. free_entry |
    log Group: cannot remove entry a
  kvio_remove 2: 1 all
    log Group: cannot remove entry a
    done, but
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_retrieve_entity 1: 1 |
    log Group: cannot find entry a
  kvio_retrieve_entity 2: 1 .. free_entry |
    done, but
    + 2 <p name="g_a"><v>7</v></p>
    + 5 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_size 1: 0 all
    done, but
    + 4 <group name="a_property" type="p"/>
  kvio_undefine 1: 1 .. free_entry |
    done, but
    + 1 <t name="a" reference="1"><v>1</v></t>
    + 3 <p name="g_a"><v>7</v></p>
    + 6 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_undefine 2: 1 all
    done, but
    + 2 <p name="g_a"><v>7</v></p>
    + 5 <group name="a_property" type="p"><entity>g_a</entity></group>
$ every remove_group g h
0
    - 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    + 8 <group name="g" type="t" reference="0"><entity>a</entity><entity>b</entity></group>
    + 9 <group name="h" type="t" reference="0"><entity>b</entity></group>
  kvio_close_group 1, kvio_close_group 2: 0 all
    done
  kvio_getattr_container2 1, kvio_setattr_container 1: -18004 all
  kvio_open_group 1, kvio_open_group 2: 1 all
  kvio_remove 1: 1 all
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    + 9 <group name="h" type="t" reference="0"><entity>b</entity></group>
$ every dispose_group all g
0 alloc_entry get_entry(a) entry_removed(a,1) free_entry alloc_property get_property(g_a) property_removed(7) free_property alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    - 1 <t name="a" reference="1"><v>1</v></t>
    - 2 <t name="b" reference="2"><v>2</v></t>
    - 3 <p name="g_a"><v>7</v></p>
    + 1 <t name="b" reference="1"><v>2</v></t>
    - 5 <p name="g_b"><v>8</v></p>
    - 6 <group name="a_property" type="p"><entity>g_a</entity></group>
    - 7 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
    - 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    - 10 <group name="all" type="t"><container>g</container></group>
    + 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 4 <group name="h" type="t" reference="0"><entity>b</entity></group>
    + 5 <group name="all" type="t"/>
  alloc_entry 1: 0 .. alloc_entry | alloc_entry get_entry(a) entry_removed(a,1) free_entry alloc_property get_property(g_a) property_removed(7) free_property
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  alloc_entry 2: 0 .. alloc_entry |
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  alloc_property 1: 0 .. alloc_property | alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    done, but
    + 2 <p name="g_a"><v>7</v></p>
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
  alloc_property 2: 0 .. alloc_property |
    done, but
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  entry_removed 1, entry_removed 2, kvio_close_group 1, kvio_close_group 2, kvio_close_group 3, kvio_close_group 4, kvio_close_group 5, kvio_close_group 6, kvio_close_group 7, kvio_close_group 8, kvio_size 3, property_removed 1, property_removed 2: 0 all
    done
  get_entry 1: 0 .. get_entry(a) | free_entry alloc_property get_property(g_a) property_removed(7) free_property alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    done
  get_entry 2: 0 .. get_entry(b) | free_entry alloc_property get_property(g_b) property_removed(8) free_property
    done
  get_property 1: 0 .. get_property(g_a) | free_property alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    done
  get_property 2: 0 .. get_property(g_b) | free_property
    done
  kvio_dispose_group 1, kvio_size 2: 0 all
    done, but
    + 3 <group name="a_property" type="p"/>
  kvio_dispose_group 2: 1 all
    done, but
    + 4 <group name="g" type="t" reference="0"/>
  kvio_getattr_container2 1: -18004 |
  kvio_getattr_container2 2, kvio_open_group 3, kvio_open_group 5, kvio_open_group 6, kvio_open_group 7, kvio_setattr_container 1: 0 .. free_property |
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_getattr_entity2 1, kvio_undefine 1: 0 .. free_entry | alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    done, but
    + 1 <t name="a" reference="1"><v>1</v></t>
    + 3 <p name="g_a"><v>7</v></p>
    + 5 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_getattr_entity2 2, kvio_setattr_entity 1: 0 .. free_entry |
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_open_group 1, kvio_open_group 2, kvio_remove 1: 1 |
  kvio_open_group 4: 0 all
    done, but
    + 3 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_open_group 8: 0 all
    done, but
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_regain_index2 1, kvio_regain_index2 2, kvio_regain_index2 3: 1 .. free_property |
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_remove 2: 0 .. free_entry | alloc_entry get_entry(a) entry_removed(a,1) free_entry alloc_property get_property(g_a) property_removed(7) free_property
    log Group: cannot remove entry a
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_remove 3: 0 all
    log Group: cannot remove entry a
    done, but
    + 3 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_remove 4: 0 .. free_property |
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    - 4 <group name="h" type="t" reference="0"><entity>b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
    + 5 <group name="h" type="t" reference="-1"><entity>b</entity></group>
  kvio_remove 5: 0 .. free_entry |
    log Group: cannot remove entry b
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_remove 6: 0 all
    log Group: cannot remove entry b
    done, but
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_retrieve_entity 1: 0 .. free_property |
    log Group: cannot find entry a
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_retrieve_entity 2: 0 .. free_entry | alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) property_removed(8) free_property
    done, but
    + 2 <p name="g_a"><v>7</v></p>
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_retrieve_entity 3: 0 .. free_property |
    log Group: cannot find entry b
    done, but
    - 1 <t name="b" reference="1"><v>2</v></t>
    + 1 <t name="b" reference="2"><v>2</v></t>
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_retrieve_entity 4: 0 .. free_entry |
    done, but
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
  kvio_size 1: 1 |
    log Group: cannot get size of group
    - 10 <group name="all" type="t"><container>g</container></group>
    + 10 <group name="all" type="t"/>
  kvio_undefine 2: 0 all
    done, but
    + 2 <p name="g_a"><v>7</v></p>
    + 4 <group name="a_property" type="p"><entity>g_a</entity></group>
  kvio_undefine 3: 0 all
    done, but
    - 3 <group name="b_property" type="p"><entity>h_b</entity></group>
    + 3 <p name="g_b"><v>8</v></p>
    + 4 <group name="b_property" type="p"><entity>h_b</entity><entity>g_b</entity></group>
$ every join_entry g c 9 6
0 set_entry(c=9) set_property(g_c=6)
    - 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity></group>
    + 8 <group name="g" type="t" reference="0"><entity>a</entity><container>h</container><entity>b</entity><entity>c</entity></group>
    + 12 <t name="c" reference="1"><v>9</v></t>
    + 13 <group name="c_property" type="p"><entity>g_c</entity></group>
    + 14 <p name="g_c"><v>6</v></p>
  kvio_close_group 1: 1 all
    log Group: cannot specify properties for entry c
    done, but
    - 12 <t name="c" reference="1"><v>9</v></t>
    + 12 <t name="c" reference="0"><v>9</v></t>
  kvio_close_group 2, kvio_open_group 2, kvio_retrieve_entity 1, kvio_retrieve_entity 2: 0 all
    done
  kvio_create_group 1: 1 .. set_entry(c=9) |
    log Group: cannot specify properties for entry c
    done, but
    - 12 <t name="c" reference="1"><v>9</v></t>
    - 13 <group name="c_property" type="p"><entity>g_c</entity></group>
    - 14 <p name="g_c"><v>6</v></p>
    + 12 <t name="c" reference="0"><v>9</v></t>
  kvio_define2 1: 1 |
    log Group: cannot join entry
  kvio_define2 2: 1 .. set_entry(c=9) |
    log Group: cannot specify properties for entry c
    done, but
    - 12 <t name="c" reference="1"><v>9</v></t>
    + 12 <t name="c" reference="0"><v>9</v></t>
    - 14 <p name="g_c"><v>6</v></p>
  kvio_join 1, set_entry 1: 1 .. set_entry(c=9) |
  kvio_join 2: 1 .. set_entry(c=9) |
    done, but
    - 12 <t name="c" reference="1"><v>9</v></t>
    - 13 <group name="c_property" type="p"><entity>g_c</entity></group>
    - 14 <p name="g_c"><v>6</v></p>
    + 12 <t name="c" reference="0"><v>9</v></t>
    + 13 <group name="c_property" type="p"/>
  kvio_open_group 1: 1 |
  kvio_setattr_entity 1: -18004 |
  kvio_setattr_entity 2: -18004 all
    done, but
    - 12 <t name="c" reference="1"><v>9</v></t>
    + 12 <t name="c" reference="0"><v>9</v></t>
  set_property 1: 1 all
    log Group: cannot specify properties for entry c
    done, but
    - 12 <t name="c" reference="1"><v>9</v></t>
    + 12 <t name="c" reference="0"><v>9</v></t>
    - 14 <p name="g_c"><v>6</v></p>
    + 14 <p name="g_c"/>
$ every join_entry h a 9 6
0 set_entry(a=9) set_property(h_a=6)
    - 1 <t name="a" reference="1"><v>1</v></t>
    + 1 <t name="a" reference="2"><v>9</v></t>
    - 6 <group name="a_property" type="p"><entity>g_a</entity></group>
    + 6 <group name="a_property" type="p"><entity>g_a</entity><entity>h_a</entity></group>
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    + 9 <group name="h" type="t" reference="1"><entity>b</entity><entity>a</entity></group>
    + 12 <p name="h_a"><v>6</v></p>
  kvio_close_group 1: 1 all
    log Group: cannot specify properties for entry a
    done, but
    - 1 <t name="a" reference="2"><v>9</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
  kvio_close_group 2, kvio_retrieve_entity 2: 0 all
    done
  kvio_define2 1: 1 .. set_entry(a=9) |
    log Group: cannot specify properties for entry a
    done, but
    - 1 <t name="a" reference="2"><v>9</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
    - 12 <p name="h_a"><v>6</v></p>
  kvio_getattr_entity2 1: -18004 |
  kvio_join 1: 1 .. set_entry(a=9) |
    log Group: cannot join entry a
    - 1 <t name="a" reference="1"><v>1</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
  kvio_join 2: 1 .. set_entry(a=9) |
    - 1 <t name="a" reference="1"><v>1</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    + 9 <group name="h" type="t" reference="1"><entity>b</entity><entity>a</entity></group>
  kvio_open_group 1: 1 |
  kvio_open_group 2: 1 .. set_entry(a=9) |
    log Group: cannot specify properties for entry a
    - 1 <t name="a" reference="1"><v>1</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
    - 9 <group name="h" type="t" reference="1"><entity>b</entity></group>
    + 9 <group name="h" type="t" reference="1"><entity>b</entity><entity>a</entity></group>
  kvio_retrieve_entity 1: 1 |
    log Group: cannot join entry
  kvio_setattr_entity 1: -18004 all
    done, but
    - 1 <t name="a" reference="2"><v>9</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
  set_entry 1: 1 .. set_entry(a=9) |
  set_property 1: 1 all
    log Group: cannot specify properties for entry a
    done, but
    - 1 <t name="a" reference="2"><v>9</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
    - 12 <p name="h_a"><v>6</v></p>
    + 12 <p name="h_a"/>
$ every join_group all k
0
    - 10 <group name="all" type="t"><container>g</container></group>
    - 11 <group name="k" type="t" reference="3"/>
    + 10 <group name="all" type="t"><container>g</container><container>k</container></group>
    + 11 <group name="k" type="t" reference="4"/>
  kvio_check_loop 1, kvio_close_group 1, kvio_close_group 2: 0 all
    done
  kvio_getattr_container2 1, kvio_setattr_container 1: -18004 all
    done, but
    - 11 <group name="k" type="t" reference="4"/>
    + 11 <group name="k" type="t" reference="3"/>
  kvio_join 1, kvio_open_group 1, kvio_open_group 2: 1 all
$ every change_entry g a 9 6
0 alloc_entry get_entry(a) set_entry(a:1=9) free_entry alloc_property get_property(g_a) set_property(g_a:7=6) free_property
    - 1 <t name="a" reference="1"><v>1</v></t>
    + 1 <t name="a" reference="1"><v>9</v></t>
    - 3 <p name="g_a"><v>7</v></p>
    + 3 <p name="g_a"><v>6</v></p>
  alloc_entry 1: 1 .. alloc_entry |
  alloc_property 1: 1 .. alloc_property |
    log Group: cannot specify properties for entry a
    err % 3 Group: cannot specify properties for entry a
    done, but
    - 3 <p name="g_a"><v>6</v></p>
    + 3 <p name="g_a"><v>7</v></p>
  get_entry 1: 1 .. get_entry(a) | free_entry
  get_property 1: 1 .. get_property(g_a) | free_property
    log Group: cannot specify properties for entry a
    err % 4 Group: cannot specify properties for entry a
    done, but
    - 3 <p name="g_a"><v>6</v></p>
    + 3 <p name="g_a"><v>7</v></p>
  kvio_close_group 1: 1 all
    log Group: cannot specify properties for entry a
    err % Group: cannot specify properties for entry a
    done
  kvio_close_group 2: 0 all
    done
  kvio_open_group 1, kvio_retrieve_entity 1: 1 |
  kvio_open_group 2: 1 .. free_entry |
    log Group: cannot specify properties for entry a
    err % kvio_open_group Group: cannot specify properties for entry a
    done, but
    - 3 <p name="g_a"><v>6</v></p>
    + 3 <p name="g_a"><v>7</v></p>
  kvio_retrieve_entity 2: 1 .. free_entry |
    log Group: cannot specify properties for entry a
    err % kvio_retrieve_entity Group: cannot specify properties for entry a
    done, but
    - 3 <p name="g_a"><v>6</v></p>
    + 3 <p name="g_a"><v>7</v></p>
  set_entry 1: 1 .. free_entry |
  set_property 1: 1 all
    log Group: cannot specify properties for entry a
    err % 5 Group: cannot specify properties for entry a
    done, but
    - 3 <p name="g_a"><v>6</v></p>
    + 3 <p name="g_a"><v>7</v></p>
$ every export_group g
1 export_begin(2) alloc_entry get_entry(a) export_entry(0,handle,a,1) free_entry alloc_property get_property(g_a) export_property(0,0,handle,7) free_property alloc_entry get_entry(b) export_entry(1,handle,b,2) free_entry alloc_property get_property(h_b) export_property(1,0,handle,9) free_property alloc_property get_property(g_b) export_property(1,1,handle,8) free_property
  alloc_entry 1, alloc_entry 2: 0 .. alloc_entry | export_discard(handle)
  alloc_property 1, alloc_property 2, alloc_property 3: 0 .. alloc_property | export_discard(handle)
  export_begin 1: 0 .. export_begin(2) |
  export_entry 1, export_entry 2, kvio_name2 2, kvio_name2 3, kvio_name2 5, kvio_name2 6, kvio_open_group 2, kvio_open_group 3, kvio_retrieve_all 2, kvio_retrieve_all 3: 0 .. free_entry | export_discard(handle)
  export_property 1, export_property 2, export_property 3, kvio_name2 7: 0 .. free_property | export_discard(handle)
  get_entry 1, kvio_name2 1: 0 .. get_entry(a) | free_entry export_discard(handle)
  get_entry 2, kvio_name2 4: 0 .. get_entry(b) | free_entry export_discard(handle)
  get_property 1: 0 .. get_property(g_a) | free_property export_discard(handle)
  get_property 2: 0 .. get_property(h_b) | free_property export_discard(handle)
  get_property 3: 0 .. get_property(g_b) | free_property export_discard(handle)
  kvio_close_group 1, kvio_close_group 4: 0 .. free_property | export_discard(handle)
    log cannot close property group
  kvio_close_group 2, kvio_close_group 3, kvio_open_group 5, kvio_regain_index2 3, kvio_regain_index2 4: 1 all
  kvio_close_group 5: 1 all
    log cannot close group
  kvio_open_group 1, kvio_retrieve_all 1: 0 |
  kvio_open_group 4, kvio_regain_index2 1, kvio_regain_index2 2: 1 .. alloc_property | get_property(g_b) export_property(1,1,handle,8) free_property
  kvio_size 1: 1 .. alloc_property | get_property(g_b) export_property(1,1,handle,8) free_property
    log Group: cannot get size of group
  kvio_size 2: 1 all
    log Group: cannot get size of group
