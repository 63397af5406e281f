int unused_pack;
