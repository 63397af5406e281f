int unused_camera_probe;
