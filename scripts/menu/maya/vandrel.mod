+ VandrelQN 1.0 ./vandrel
